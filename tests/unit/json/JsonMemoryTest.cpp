// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>
#include <stdexcept>
#include <vector>

#include "json/JsonValue.h"
#include "json/JsonWriter.h"
#include "tests/unit/json/Trees.h"

namespace {

constexpr std::size_t anySize = std::numeric_limits<std::size_t>::max();
std::size_t largestBlock = anySize;

}  // namespace

// The forms for arrays and those that do not throw come down to these.

void* operator new(std::size_t size)
{
    void* const block = size > largestBlock ? nullptr : std::malloc(std::max<std::size_t>(size, 1));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

// Inlined into a caller of new, std::free would look like a mismatch to g++.
[[gnu::noinline]] void operator delete(void* block) noexcept
{
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t /*size*/) noexcept
{
    std::free(block);
}

// How much memory the writer takes at once.
namespace {

/// Levels that ask for more spaces than the memory has, and their sums for more than a number of 32
/// or 64 bits holds.
const std::vector<std::uint64_t> hugeLevels = {
    (std::uint64_t{1} << 30) - 1, std::uint64_t{1} << 30,       (std::uint64_t{1} << 31) - 2,
    std::uint64_t{1} << 31,       std::uint64_t{1} << 32,       std::uint64_t{1} << 60,
    std::uint64_t{1} << 61,       (std::uint64_t{1} << 62) - 1, std::uint64_t{1} << 62,
    (std::uint64_t{1} << 62) + 1, (std::uint64_t{1} << 63) - 1, std::uint64_t{1} << 63,
    (std::uint64_t{1} << 63) + 1, ~std::uint64_t{0} - 1,        ~std::uint64_t{0},
};

class JsonMemory : public testing::Test {
protected:
    JsonMemory() { largestBlock = 10'000; }
    ~JsonMemory() override { largestBlock = anySize; }
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

TEST_F(JsonMemory, FailsInTheStandardWayForATextThatIsTooLarge)
{
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

TEST_F(JsonMemory, HoldsNoIndentationOfATextOnOneLine)
{
    for (const std::uint64_t level : hugeLevels) {
        SCOPED_TRACE(level);
        EXPECT_EQ(JsonWriter::writeObject(JsonObject(), level), "{}");
        EXPECT_EQ(JsonWriter::writeValue(object({}), level), "{}");
        EXPECT_EQ(JsonWriter::writeValue(array({}), level), "[]");
        EXPECT_EQ(JsonWriter::writeValue(integer(1), level), "1");
    }
}

}  // namespace
