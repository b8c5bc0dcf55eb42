// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "json/JsonValue.h"
#include "json/JsonWriter.h"
#include "tests/unit/json/CheckedMemory.h"
#include "tests/unit/json/Trees.h"

// How much memory values and the writer hold.
namespace {

TEST(JsonMemory, IsReleasedByAStringThatBecomesAnIntegerAndAnObjectThatBecomesNull)
{
    const std::string longText(100, 'x');
    struct Row {
        const char* name;
        JsonValue before;
        JsonValue after;
    };
    const std::array<Row, 2> rows = {{
        {"string", string(longText), integer(1)},
        {"object", object({{longText, array({string(longText)})}}), JsonValue()},
    }};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::int64_t blocks = liveBlocks();
        JsonValue value = row.before;
        EXPECT_GT(liveBlocks(), blocks);
        value = row.after;
        EXPECT_EQ(liveBlocks(), blocks);
        EXPECT_EQ(value, row.after);
    }
}

/// Levels that ask for more spaces than the memory has, and their sums for more than a number of 32
/// or 64 bits holds.
const std::vector<std::uint64_t> hugeLevels = {
    (std::uint64_t{1} << 30) - 1, std::uint64_t{1} << 30,       (std::uint64_t{1} << 31) - 2,
    std::uint64_t{1} << 31,       std::uint64_t{1} << 32,       std::uint64_t{1} << 60,
    std::uint64_t{1} << 61,       (std::uint64_t{1} << 62) - 1, std::uint64_t{1} << 62,
    (std::uint64_t{1} << 62) + 1, (std::uint64_t{1} << 63) - 1, std::uint64_t{1} << 63,
    (std::uint64_t{1} << 63) + 1, ~std::uint64_t{0} - 1,        ~std::uint64_t{0},
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
    const JsonValue anArray = array({integer(1)});
    const JsonValue anObject = object({{"a", integer(1)}});
    for (const std::uint64_t level : hugeLevels) {
        SCOPED_TRACE(level);
        EXPECT_TRUE(isTooLarge([&] { return JsonWriter::writeValue(anArray, level); }));
        EXPECT_TRUE(isTooLarge([&] { return JsonWriter::writeValue(anObject, level); }));
        EXPECT_TRUE(isTooLarge([&] { return JsonWriter::writeObject(anObject.object(), level); }));
        EXPECT_TRUE(isTooLarge([&] { return JsonWriter::writeMember({"k", integer(1)}, level); }));
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
    for (std::size_t level = 0; level < depth; ++level) {
        JsonArray outer;
        outer.push_back(std::move(tree));
        tree.setArray(std::move(outer));
    }
    const std::string text = std::string(depth, '[') + "null" + std::string(depth, ']');
    const MemoryLimit limit(4 * text.size());
    EXPECT_EQ(JsonWriter::writeValue(tree, 0), text);
}

}  // namespace
