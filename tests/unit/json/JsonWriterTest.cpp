// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonWriter.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/unit/json/Trees.h"

using namespace std::string_literals;

// What no row of tests/dialect/ can say: other levels than 0 and 2, the texts of single values and
// members, and trees that no text leads to.
namespace {

TEST(JsonWriter, WritesAValueWithoutChildrenAlikeAtEveryLevel)
{
    struct Row {
        JsonValue value;
        const char* text;
    };
    const std::vector<Row> rows = {
        {JsonValue(), "null"},      {integer(-17), "-17"}, {real(2.5), "2.5"},
        {boolean(true), "true"},    {string(""), "\"\""},  {boolean(false), "false"},
        {string("a b"), "\"a b\""}, {object({}), "{}"},    {array({}), "[]"},
        {unknown(), "null"},
    };
    for (const Row& row : rows) {
        for (const std::size_t level : {0U, 1U, 2U, 7U}) {
            SCOPED_TRACE(row.text + " at level "s + std::to_string(level));
            EXPECT_EQ(JsonWriter::writeValue(row.value, level), row.text);
            EXPECT_EQ(JsonWriter::writeMember({"k", row.value}, level),
                      std::string(2 * level, ' ') + "\"k\": " + row.text);
        }
    }
    for (const std::size_t level : {0U, 1U, 2U, 7U}) {
        EXPECT_EQ(JsonWriter::writeObject(JsonObject(), level), "{}");
    }
}

TEST(JsonWriter, WritesAValueWithChildrenByItsLevel)
{
    const JsonValue pair = object({{"a", integer(1)}, {"b", JsonValue()}});
    const JsonValue two = array({integer(1), JsonValue()});
    const JsonValue mixed = array({array({integer(1)}), object({{"a", integer(2)}}), array({})});
    const JsonValue nested = object({{"a", object({{"b", array({integer(1), object({})})}})}});
    struct Row {
        const char* name;
        std::string text;
        std::string expected;
    };
    const std::vector<Row> rows = {
        {"array", JsonWriter::writeValue(two, 0), "[1, null]"},
        {"array, 1", JsonWriter::writeValue(two, 1), "[\n    1,\n    null\n  ]"},
        {"array, 3", JsonWriter::writeValue(two, 3), "[\n        1,\n        null\n      ]"},
        {"object", JsonWriter::writeValue(pair, 0), R"({"a": 1, "b": null})"},
        {"object, 1", JsonWriter::writeValue(pair, 1), "{\n    \"a\": 1,\n    \"b\": null\n  }"},
        {"object, 3", JsonWriter::writeValue(pair, 3),
         "{\n        \"a\": 1,\n        \"b\": null\n      }"},
        {"mixed", JsonWriter::writeValue(mixed, 0), R"([[1], {"a": 2}, []])"},
        {"mixed, 1", JsonWriter::writeValue(mixed, 1),
         "[\n    [\n      1\n    ],\n    {\n      \"a\": 2\n    },\n    []\n  ]"},
        {"nested", JsonWriter::writeValue(nested, 0), R"({"a": {"b": [1, {}]}})"},
        {"nested, 1", JsonWriter::writeValue(nested, 1),
         "{\n    \"a\": {\n      \"b\": [\n        1,\n        {}\n      ]\n    }\n  }"},
        {"root, 1", JsonWriter::writeObject(pair.object(), 1), "{\n  \"a\": 1,\n  \"b\": null\n}"},
        {"root, 3", JsonWriter::writeObject(pair.object(), 3),
         "{\n      \"a\": 1,\n      \"b\": null\n    }"},
        {"member", JsonWriter::writeMember({"k", two}, 0), R"("k": [1, null])"},
        {"member, 1", JsonWriter::writeMember({"k", two}, 1), "  \"k\": [\n    1,\n    null\n  ]"},
        {"member, 2", JsonWriter::writeMember({"k", pair}, 2),
         "    \"k\": {\n      \"a\": 1,\n      \"b\": null\n    }"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.text, row.expected);
    }
}

TEST(JsonWriter, EscapesSevenBytesAndCopiesAllOthers)
{
    const std::map<std::string, std::string> escapes = {
        {"\x08", R"(\b)"}, {"\x09", R"(\t)"}, {"\x0a", R"(\n)"}, {"\x0c", R"(\f)"},
        {"\x0d", R"(\r)"}, {"\x22", R"(\")"}, {"\x5c", R"(\\)"}};
    for (int number = 0; number < 256; ++number) {
        SCOPED_TRACE("byte " + std::to_string(number));
        const std::string byte(1, static_cast<char>(number));
        const auto found = escapes.find(byte);
        const std::string expected = found == escapes.end() ? byte : found->second;
        EXPECT_EQ(JsonWriter::writeString(byte), '"' + expected + '"');
        EXPECT_EQ(JsonWriter::writeString("<" + byte + byte + ">"),
                  "\"<" + expected + expected + ">\"");
        EXPECT_EQ(JsonWriter::writeValue(string(byte), 2), '"' + expected + '"');
        EXPECT_EQ(JsonWriter::writeMember({byte, integer(1)}, 0), '"' + expected + "\": 1");
    }
}

TEST(JsonWriter, WritesDoublesAsAStreamOfPrecision34Does)
{
    std::mt19937_64 random(20231121);
    std::ostringstream stream;
    stream.precision(34);
    const auto expectAlike = [&stream](double sampled) {
        stream.str("");
        stream << sampled;
        ASSERT_EQ(JsonWriter::writeValue(real(sampled), 0), stream.str());
    };
    for (int i = 0; i < 100000 && !HasFatalFailure(); ++i) {
        const std::uint64_t bits = random();
        expectAlike(std::bit_cast<double>(bits));
        // Few of those are of the size that configurations hold: thousandths below a thousand are.
        expectAlike(static_cast<double>(bits % 2000000) / 1000 - 1000);
        // Without its exponent: a subnormal.
        expectAlike(std::bit_cast<double>(bits & 0x800f'ffff'ffff'ffff));
    }
}

}  // namespace
