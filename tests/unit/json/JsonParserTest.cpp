// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "json/JsonWriter.h"
#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

// What no row of tests/dialect/ can say.
namespace {

TEST(JsonParser, ReplacesWhatTheDestinationHeld)
{
    JsonObject destination = members({{"old", integer(1)}, {"both", string("old")}});
    std::uint64_t position = positionBefore;
    ASSERT_EQ(JsonParser::parse(destination, R"({"new":2,"both":3})", position), JsonCode::ok);
    EXPECT_EQ(destination, members({{"both", integer(3)}, {"new", integer(2)}}));
    ASSERT_EQ(JsonParser::parse(destination, "{}", position), JsonCode::ok);
    EXPECT_TRUE(destination.empty());
    EXPECT_EQ(position, positionBefore);
}

TEST(JsonParser, KeepsEveryValueOfTheDestinationInPlaceOnFailure)
{
    JsonObject destination = members({{"a", string("kept")}});
    const JsonValue* const value = &destination["a"].value;
    const std::string* const payload = &value->string();
    std::uint64_t position = positionBefore;
    ASSERT_EQ(JsonParser::parse(destination, R"({"a":1,"b":2,"c":x})", position),
              JsonCode::badNumber);
    EXPECT_EQ(destination, members({{"a", string("kept")}}));
    EXPECT_EQ(&destination["a"].value, value);
    EXPECT_EQ(&value->string(), payload);
}

TEST(JsonParser, ReadsALongString)
{
    const std::string bytes(5000, 'x');
    EXPECT_EQ(parse("{\"a\":\"" + bytes + "\"}"), accepted(members({{"a", string(bytes)}})));
    EXPECT_EQ(parse("{\"" + bytes + "\":1}"), accepted(members({{bytes, integer(1)}})));
}

TEST(JsonParser, ReadsWhatWasWritten)
{
    std::string everyByteThatCanBeRead = "\b\f\n\r\t";
    for (int number = 32; number < 256; ++number) {
        everyByteThatCanBeRead += byteOf(number);
    }
    using Limits = std::numeric_limits<double>;
    const JsonObject tree =
        members({{everyByteThatCanBeRead, string(everyByteThatCanBeRead)},
                 {"", array({array({}), object({}), JsonValue(), boolean(true), boolean(false)})},
                 {"numbers", array({integer(std::numeric_limits<std::int64_t>::min()), real(0.1),
                                    real(Limits::denorm_min()), real(Limits::infinity())})},
                 {"object", object({{"a", object({{"b", array({string("x\ty")})}})}})}});
    for (const std::uint64_t level : {0U, 1U, 2U}) {
        SCOPED_TRACE("level " + std::to_string(level));
        EXPECT_EQ(parse(JsonWriter::writeObject(tree, level)), accepted(tree));
    }
}

}  // namespace
