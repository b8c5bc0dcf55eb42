// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "json/JsonParser.h"
#include "json/JsonValue.h"
#include "json/JsonWriter.h"
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

/// Levels that ask for more spaces than any memory has, and their sums for more than a number
/// holds.
const std::vector<std::uint64_t> hugeLevels = {
    std::uint64_t{1} << 60, std::uint64_t{1} << 61,       (std::uint64_t{1} << 62) - 1,
    std::uint64_t{1} << 62, (std::uint64_t{1} << 62) + 1, (std::uint64_t{1} << 63) - 1,
    std::uint64_t{1} << 63, (std::uint64_t{1} << 63) + 1, ~std::uint64_t{0} - 1,
    ~std::uint64_t{0},
};

/// Whether writing ends as it does for any text that is too large for a string or for the memory.
template <typename Write>
bool isTooLarge(Write write)
{
    try {
        (void)write();
        return false;
    } catch (const std::length_error&) {
        return true;
    } catch (const std::bad_alloc&) {
        return true;
    }
}

TEST(JsonMemory, FailsInTheStandardWayForATextThatIsTooLarge)
{
    const MemoryLimit limit(1'000'000);
    for (const std::uint64_t level : hugeLevels) {
        SCOPED_TRACE(level);
        const JsonValue anArray = array({integer(1)});
        const JsonValue anObject = object({{"a", integer(1)}});
        const JsonMember aMember{"k", integer(1)};
        EXPECT_TRUE(isTooLarge([&] { return JsonWriter::writeValue(anArray, level); }));
        EXPECT_TRUE(isTooLarge([&] { return JsonWriter::writeValue(anObject, level); }));
        EXPECT_TRUE(isTooLarge([&] { return JsonWriter::writeObject(anObject.object(), level); }));
        EXPECT_TRUE(isTooLarge([&] { return JsonWriter::writeMember(aMember, level); }));
    }
}

TEST(JsonMemory, HoldsNoIndentationOfATextOnOneLine)
{
    std::vector<std::uint64_t> levels = hugeLevels;
    levels.push_back(1'000'000'000);
    for (const std::uint64_t level : levels) {
        SCOPED_TRACE(level);
        const MemoryLimit limit(10'000);
        EXPECT_EQ(JsonWriter::writeObject(JsonObject(), level), "{}");
        EXPECT_EQ(JsonWriter::writeValue(object({}), level), "{}");
        EXPECT_EQ(JsonWriter::writeValue(array({}), level), "[]");
        EXPECT_EQ(JsonWriter::writeValue(integer(1), level), "1");
    }
}

TEST(JsonMemory, GrowsWithTheLengthOfACompactText)
{
    constexpr std::size_t depth = 5'000;
    JsonValue tree;
    std::string text = "null";
    for (std::size_t level = 0; level < depth; ++level) {
        JsonArray outer;
        outer.push_back(std::move(tree));
        tree.setArray(std::move(outer));
    }
    text.insert(0, depth, '[').append(depth, ']');
    const JsonObject root = members({{"a", tree}});
    const MemoryLimit limit(4 * text.size());
    EXPECT_EQ(JsonWriter::writeObject(root, 0), "{\"a\": " + text + "}");
}

}  // namespace
