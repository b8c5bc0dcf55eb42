// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonValue.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <type_traits>

#include "tests/unit/json/Trees.h"

// What TreeModelTest.cpp cannot say.
namespace {

// Otherwise an array that grows copies its elements.
static_assert(std::is_nothrow_move_constructible_v<JsonValue>);
static_assert(std::is_same_v<std::underlying_type_t<JsonType>, std::uint32_t>);

TEST(JsonType, HasAFixedNumberAndAShortName)
{
    struct Row {
        JsonType type;
        std::uint32_t number;
        const char* name;
    };
    const std::array<Row, 8> rows = {{
        {JsonType::null, 0, "nul"},
        {JsonType::integer, 1, "int"},
        {JsonType::real, 2, "dbl"},
        {JsonType::boolean, 3, "boo"},
        {JsonType::string, 4, "str"},
        {JsonType::object, 5, "obj"},
        {JsonType::array, 6, "vec"},
        {JsonType::unknown, 7, "unk"},
    }};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(static_cast<std::uint32_t>(row.type), row.number);
        EXPECT_STREQ(shortName(row.type), row.name);
    }
}

TEST(JsonValue, IsNullByDefault)
{
    EXPECT_EQ(JsonValue().type(), JsonType::null);
    EXPECT_EQ(JsonMember().value.type(), JsonType::null);
    EXPECT_EQ(JsonMember().name, "");
}

TEST(JsonValue, LetsANumberBeChangedInPlace)
{
    JsonValue value = integer(1);
    value.integer() = 2;
    EXPECT_EQ(value, integer(2));
    value = real(1.5);
    value.real() = 2.5;
    EXPECT_EQ(value, real(2.5));
}

}  // namespace
