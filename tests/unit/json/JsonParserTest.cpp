// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "json/JsonWriter.h"
#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

namespace {

struct Acceptance {
    const char* text;
    JsonObject expected;
};

void expectAccepted(const std::vector<Acceptance>& rows)
{
    for (const Acceptance& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(parse(row.text), accepted(row.expected));
    }
}

TEST(JsonParser, ReadsAValueOfEachKind)
{
    EXPECT_EQ(parse(R"({"null":null,"int":-17,"dbl":1.5e2,"yes":true,"no":false,"str":"text",)"
                    R"("obj":{"k":1},"vec":[1,"two",null]})"),
              accepted(members({{"null", JsonValue()},
                                {"int", integer(-17)},
                                {"dbl", real(150.0)},
                                {"yes", boolean(true)},
                                {"no", boolean(false)},
                                {"str", string("text")},
                                {"obj", object({{"k", integer(1)}})},
                                {"vec", array({integer(1), string("two"), JsonValue()})}})));
}

TEST(JsonParser, ReadsObjectsAndArraysInsideEachOther)
{
    expectAccepted({
        {"{}", {}},
        {R"({"a":{}})", members({{"a", object({})}})},
        {R"({"a":[]})", members({{"a", array({})}})},
        {R"({"a":[[],[[]],{}]})",
         members({{"a", array({array({}), array({array({})}), object({})})}})},
        {R"({"a":{"b":{"c":[{"d":1},{"d":2}]}},"e":3})",
         members({{"a", object({{"b", object({{"c", array({object({{"d", integer(1)}}),
                                                           object({{"d", integer(2)}})})}})}})},
                  {"e", integer(3)}})},
        {R"({"a":[1,true,false,null,"s",1.5,[2],{"k":3}]})",
         members({{"a", array({integer(1), boolean(true), boolean(false), JsonValue(), string("s"),
                               real(1.5), array({integer(2)}), object({{"k", integer(3)}})})}})},
        {R"({"":{"":""}})", members({{"", object({{"", string("")}})}})},
    });
}

TEST(JsonParser, ReplacesWhatTheDestinationHeld)
{
    JsonObject destination = members({{"old", integer(1)}, {"both", string("old")}});
    std::uint64_t position = positionBefore;
    ASSERT_EQ(JsonParser::parse(destination, R"({"new":2,"both":3})", position), JsonCode::ok);
    EXPECT_EQ(destination, members({{"both", integer(3)}, {"new", integer(2)}}));
    EXPECT_EQ(position, positionBefore);
    ASSERT_EQ(JsonParser::parse(destination, "{}", position), JsonCode::ok);
    EXPECT_TRUE(destination.empty());
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

TEST(JsonParser, KeepsNothingBetweenCalls)
{
    EXPECT_EQ(parse(R"({"a":[1,{"b":tru}]})"), refused(JsonCode::badTrue, 13));
    EXPECT_EQ(parse(R"({"c":1})"), accepted(members({{"c", integer(1)}})));
    EXPECT_EQ(parse("{}}"), refused(JsonCode::trailingText, 2));
}

TEST(JsonParser, KeepsTheLastValueOfADuplicateKey)
{
    expectAccepted({
        {R"({"k":1,"k":2})", members({{"k", integer(2)}})},
        {R"({"k":1,"k":"s","k":[true]})", members({{"k", array({boolean(true)})}})},
        {R"({"k":{"a":1},"k":{"b":2}})", members({{"k", object({{"b", integer(2)}})}})},
        {R"({"k":[1,2,3],"k":null})", members({{"k", JsonValue()}})},
        {R"({"a":1,"k":2,"b":3,"k":4})",
         members({{"a", integer(1)}, {"b", integer(3)}, {"k", integer(4)}})},
        {R"({"":1,"":2})", members({{"", integer(2)}})},
        {R"({"o":{"k":1,"k":2},"k":3})",
         members({{"k", integer(3)}, {"o", object({{"k", integer(2)}})}})},
        {R"({"a\tb":1,"a\tb":2})", members({{"a\tb", integer(2)}})},
    });
}

TEST(JsonParser, OrdersKeysAsUnsignedBytesAndElementsAsInTheText)
{
    const Outcome outcome =
        parse("{\"b\":1,\"\xff\":2,\"a\":3,\"\x7f\":4,\"ab\":[3,1,2],\"\x80\":5}");
    std::vector<std::string> keys;
    for (const JsonMember& member : outcome.destination) {
        keys.push_back(member.name);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"a", "ab", "b", "\x7f", "\x80", "\xff"}));
    EXPECT_EQ(outcome.destination.find("ab")->value, array({integer(3), integer(1), integer(2)}));
}

TEST(JsonParser, TakesACommaBeforeAClosingBracket)
{
    expectAccepted({
        {R"({"a":1,})", members({{"a", integer(1)}})},
        {R"({"a":1 , })", members({{"a", integer(1)}})},
        {R"({"a":{"b":true,},})", members({{"a", object({{"b", boolean(true)}})}})},
        {R"({"a":[1,2,]})", members({{"a", array({integer(1), integer(2)})}})},
        {R"({"a":["x" , ],})", members({{"a", array({string("x")})}})},
        {R"({"a":[[],],})", members({{"a", array({array({})})}})},
    });
}

TEST(JsonParser, ReadsAMissingValueAsTheIntegerZero)
{
    const JsonValue zero = integer(0);
    expectAccepted({
        {R"({"a":})", members({{"a", zero}})},
        {R"({"a": })", members({{"a", zero}})},
        {"{\"a\":\t\r\n}", members({{"a", zero}})},
        {R"({"a":,})", members({{"a", zero}})},
        {R"({"a": ,"b": })", members({{"a", zero}, {"b", zero}})},
        {R"({"a":{"b":}})", members({{"a", object({{"b", zero}})}})},
        {R"({"a":[,]})", members({{"a", array({zero})}})},
        {R"({"a":[ , ]})", members({{"a", array({zero})}})},
        {R"({"a":[,,]})", members({{"a", array({zero, zero})}})},
        {R"({"a":[1,,2]})", members({{"a", array({integer(1), zero, integer(2)})}})},
        {R"({"a":[,"s"]})", members({{"a", array({zero, string("s")})}})},
        {R"({"a":[{"b":},]})", members({{"a", array({object({{"b", zero}})})}})},
    });
}

// Whitespace.

constexpr std::string_view whitespace = "\t\n\r ";

/// A place between two tokens, in a text that is complete without anything there.
struct Place {
    const char* name;
    std::string before;
    std::string after;
    JsonObject expected;
    JsonCode code;  ///< of a byte that may not stand there
};

std::vector<Place> placesBetweenTokens()
{
    const JsonObject text = members({{"a", string("x")}});
    const JsonObject one = members({{"a", array({string("x")})}});
    return {
        {"in an empty object", R"({)", R"(})", {}, JsonCode::keyExpected},
        {"before a key", R"({)", R"("a":"x"})", text, JsonCode::keyExpected},
        {"after a key", R"({"a")", R"(:"x"})", text, JsonCode::colonExpected},
        {"before a value", R"({"a":)", R"("x"})", text, JsonCode::badNumber},
        {"after a value", R"({"a":"x")", R"(})", text, JsonCode::memberSeparatorExpected},
        {"after an object", R"({"a":{})", R"(})", members({{"a", object({})}}),
         JsonCode::memberSeparatorExpected},
        {"after an array", R"({"a":[])", R"(})", members({{"a", array({})}}),
         JsonCode::memberSeparatorExpected},
        {"after true", R"({"a":true)", R"(})", members({{"a", boolean(true)}}),
         JsonCode::memberSeparatorExpected},
        {"after null", R"({"a":null)", R"(})", members({{"a", JsonValue()}}),
         JsonCode::memberSeparatorExpected},
        {"before a comma", R"({"a":"x")", R"(,"b":1})",
         members({{"a", string("x")}, {"b", integer(1)}}), JsonCode::memberSeparatorExpected},
        {"after a comma", R"({"a":"x",)", R"("b":1})",
         members({{"a", string("x")}, {"b", integer(1)}}), JsonCode::keyExpected},
        {"after the last comma", R"({"a":"x",)", R"(})", text, JsonCode::keyExpected},
        {"in an inner object", R"({"a":{)", R"(}})", members({{"a", object({})}}),
         JsonCode::keyExpected},
        {"in an empty array", R"({"a":[)", R"(]})", members({{"a", array({})}}),
         JsonCode::badNumber},
        {"before an element", R"({"a":[)", R"("x"]})", one, JsonCode::badNumber},
        {"after an element", R"({"a":["x")", R"(]})", one, JsonCode::elementSeparatorExpected},
        {"after an inner array", R"({"a":[[])", R"(]})", members({{"a", array({array({})})}}),
         JsonCode::elementSeparatorExpected},
        {"before an array's comma", R"({"a":["x")", R"(,"y"]})",
         members({{"a", array({string("x"), string("y")})}}), JsonCode::elementSeparatorExpected},
        {"after an array's comma", R"({"a":["x",)", R"("y"]})",
         members({{"a", array({string("x"), string("y")})}}), JsonCode::badNumber},
        {"after an array's last comma", R"({"a":["x",)", R"(]})", one, JsonCode::badNumber},
    };
}

TEST(JsonParser, SkipsTabLineFeedReturnAndBlankBetweenTokens)
{
    for (const Place& place : placesBetweenTokens()) {
        for (const std::string gap : {"", "\t", "\n", "\r", " ", "\r\n", " \t\n\r\r\n\t "}) {
            SCOPED_TRACE(place.name + (" " + testing::PrintToString(gap)));
            EXPECT_EQ(parse(place.before + gap + place.after), accepted(place.expected));
        }
    }
}

TEST(JsonParser, RefusesEveryOtherControlByteBetweenTokens)
{
    for (const Place& place : placesBetweenTokens()) {
        for (int number = 0; number < 32; ++number) {
            const std::string byte = byteOf(number);
            if (isOneOf(whitespace, byte)) {
                continue;
            }
            SCOPED_TRACE(place.name + (", byte " + std::to_string(number)));
            EXPECT_EQ(parse(place.before + byte + place.after),
                      refused(place.code, place.before.size()));
            EXPECT_EQ(parse(place.before + " \t" + byte + " " + place.after),
                      refused(place.code, place.before.size() + 2));
        }
    }
}

// Writing and reading again.

TEST(JsonParser, ReadsWhatWasWritten)
{
    std::string everyByteThatCanBeRead;
    for (int number = 32; number < 256; ++number) {
        everyByteThatCanBeRead += static_cast<char>(number);
    }
    everyByteThatCanBeRead += "\b\f\n\r\t";
    const JsonObject tree =
        members({{everyByteThatCanBeRead, string(everyByteThatCanBeRead)},
                 {"", array({array({}), object({}), JsonValue(), boolean(true), boolean(false)})},
                 {"numbers", array({integer(std::numeric_limits<std::int64_t>::min()), real(0.1),
                                    real(1e300), real(std::numeric_limits<double>::denorm_min()),
                                    real(std::numeric_limits<double>::infinity())})},
                 {"object", object({{"a", object({{"b", array({string("x\ty")})}})}})}});
    for (const std::uint64_t level : {0U, 1U, 2U}) {
        SCOPED_TRACE("level " + std::to_string(level));
        // Above level 1 the last brace is indented, and the text after it is nothing all the same.
        EXPECT_EQ(parse(JsonWriter::writeObject(tree, level)), accepted(tree));
    }
}

}  // namespace
