// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "json/JsonParser.h"
#include "json/JsonValue.h"
#include "tests/unit/json/CheckedMemory.h"
#include "tests/unit/json/Trees.h"

// That all memory is released in the end, whatever happened to it before. The sanitizers and
// valgrind tell too, where they run; here it is a property of the tree.

namespace {

const std::string longText(100, 'x');

struct Kind {
    const char* name;
    JsonValue value;
    void (*set)(JsonValue&);  // makes a value one of this kind, as the row's value is
};

void setObject(JsonValue& value)
{
    value.setObject(members({{longText, string(longText)}}));
}

void setArray(JsonValue& value)
{
    value.setArray({string(longText), array({integer(1)})});
}

std::vector<Kind> kinds()
{
    return {
        {"null", JsonValue(), [](JsonValue& value) { value.reset(); }},
        {"integer", integer(1), [](JsonValue& value) { value.setInteger(1); }},
        {"number", real(1.5), [](JsonValue& value) { value.setReal(1.5); }},
        {"boolean", boolean(true), [](JsonValue& value) { value.setBoolean(true); }},
        {"string", string(longText), [](JsonValue& value) { value.setString(longText); }},
        {"object", object({{longText, string(longText)}}), setObject},
        {"array", array({string(longText), array({integer(1)})}), setArray},
        {"unknown", unknown(), [](JsonValue& value) { value.setUnknown(); }},
    };
}

TEST(JsonMemory, IsAllocatedForStringsObjectsAndArraysOnly)
{
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.name);
        const std::int64_t before = liveBlocks();
        const JsonValue value(kind.value);
        EXPECT_EQ(liveBlocks() > before, value.type() == JsonType::string ||
                                             value.type() == JsonType::object ||
                                             value.type() == JsonType::array);
    }
}

TEST(JsonMemory, IsReleasedByADestroyedValue)
{
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.name);
        const std::int64_t before = liveBlocks();
        {
            const JsonValue value(kind.value);
        }
        EXPECT_EQ(liveBlocks(), before);
    }
}

void setTo(JsonValue& value, const Kind& kind)
{
    kind.set(value);
}

void copyTo(JsonValue& value, const Kind& kind)
{
    value = kind.value;
}

void moveTo(JsonValue& value, const Kind& kind)
{
    JsonValue source(kind.value);
    value = std::move(source);
}

/// How many blocks remain when a value of the one kind becomes one of the other and is destroyed.
std::int64_t blocksLeft(const Kind& old, const Kind& fresh,
                        void (*become)(JsonValue& value, const Kind& kind))
{
    const std::int64_t before = liveBlocks();
    {
        JsonValue value(old.value);
        become(value, fresh);
    }
    return liveBlocks() - before;
}

TEST(JsonMemory, IsReleasedByAValueThatBecomesAnother)
{
    for (const Kind& old : kinds()) {
        SCOPED_TRACE(old.name);
        for (const Kind& fresh : kinds()) {
            EXPECT_EQ(blocksLeft(old, fresh, setTo), 0) << "set to " << fresh.name;
            EXPECT_EQ(blocksLeft(old, fresh, copyTo), 0) << "copied to " << fresh.name;
            EXPECT_EQ(blocksLeft(old, fresh, moveTo), 0) << "moved to " << fresh.name;
        }
    }
}

TEST(JsonMemory, IsReleasedByAValueThatTakesAPartOfItself)
{
    const std::int64_t before = liveBlocks();
    {
        JsonValue value = array({array({string(longText)}), integer(1)});
        value = JsonValue(value.array()[0]);
        value = std::move(value.array()[0]);
        EXPECT_EQ(value.string(), longText);
    }
    EXPECT_EQ(liveBlocks(), before);
}

TEST(JsonMemory, IsReleasedByAMemberThatIsReplacedOrErased)
{
    const std::int64_t before = liveBlocks();
    {
        JsonObject object;
        object.insertOrAssign(longText, string(longText));
        const std::int64_t one = liveBlocks();
        object.insertOrAssign(longText, string(longText));
        EXPECT_EQ(liveBlocks(), one);
        EXPECT_EQ(object.erase(longText), 1);
        EXPECT_LT(liveBlocks(), one);
    }
    EXPECT_EQ(liveBlocks(), before);
}

TEST(JsonMemory, IsReleasedForWhatWasReadOfARefusedText)
{
    const std::string prefix = R"({")" + longText + R"(":{"a":[1,{"b":")" + longText + R"("},)";
    for (const char* const rest : {R"(x]}})", R"({"c":"\q"}]}})", R"([tru]]}})", R"(")", "]}"}) {
        SCOPED_TRACE(rest);
        const std::string text = prefix + rest;
        const std::int64_t before = liveBlocks();
        {
            JsonObject object;
            std::uint64_t position = 0;
            EXPECT_NE(JsonParser::parse(object, text, position), JsonCode::ok);
        }
        EXPECT_EQ(liveBlocks(), before);
    }
}

TEST(JsonMemory, IsReleasedForWhatAReadTextReplaces)
{
    const std::int64_t before = liveBlocks();
    {
        JsonObject object = members({{longText, string(longText)}});
        std::uint64_t position = 0;
        EXPECT_EQ(JsonParser::parse(object, R"({"a":[1,{}],"a":"x","b":null})", position),
                  JsonCode::ok);
    }
    EXPECT_EQ(liveBlocks(), before);
}

}  // namespace
