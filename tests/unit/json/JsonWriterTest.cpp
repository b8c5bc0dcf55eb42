// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonWriter.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/unit/json/Trees.h"

using namespace std::string_literals;

namespace {

/// The document of the layout tests: every shape that a text can hold.
JsonObject sample()
{
    return members({{"f", array({})},
                    {"e", object({})},
                    {"b", array({integer(1), real(2.5), string("x\ty")})},
                    {"a", JsonValue()},
                    {"App", object({{"isEncoder", boolean(true)}, {"Name", string("dec")}})}});
}

TEST(JsonWriter, WritesOneMemberOrElementALine)
{
    EXPECT_EQ(JsonWriter::writeObject(sample(), 2), "{\n"
                                                    "    \"App\": {\n"
                                                    "      \"Name\": \"dec\",\n"
                                                    "      \"isEncoder\": true\n"
                                                    "    },\n"
                                                    "    \"a\": null,\n"
                                                    "    \"b\": [\n"
                                                    "      1,\n"
                                                    "      2.5,\n"
                                                    "      \"x\\ty\"\n"
                                                    "    ],\n"
                                                    "    \"e\": {},\n"
                                                    "    \"f\": []\n"
                                                    "  }");
}

TEST(JsonWriter, WritesOneLineAtLevelZero)
{
    const std::string line = R"({"App": {"Name": "dec", "isEncoder": true}, "a": null, )"
                             R"("b": [1, 2.5, "x\ty"], "e": {}, "f": []})";
    EXPECT_EQ(JsonWriter::writeObject(sample(), 0), line);
    JsonValue value;
    value.setObject(sample());
    EXPECT_EQ(JsonWriter::writeValue(value, 0), line);
}

TEST(JsonWriter, LeavesTheTreeAsItWas)
{
    const JsonObject tree = sample();
    const std::string first = JsonWriter::writeObject(tree, 2);
    EXPECT_EQ(tree, sample());
    EXPECT_EQ(JsonWriter::writeObject(tree, 2), first);
}

TEST(JsonWriter, WritesAValueWithoutChildrenAlikeAtEveryLevel)
{
    struct Row {
        const char* name;
        JsonValue value;
        const char* text;
    };
    const std::vector<Row> rows = {
        {"null", JsonValue(), "null"},        {"integer", integer(-17), "-17"},
        {"number", real(2.5), "2.5"},         {"true", boolean(true), "true"},
        {"false", boolean(false), "false"},   {"string", string("a b"), "\"a b\""},
        {"empty string", string(""), "\"\""}, {"empty object", object({}), "{}"},
        {"empty array", array({}), "[]"},     {"unknown", unknown(), "null"},
    };
    for (const Row& row : rows) {
        for (const std::uint64_t level : {0U, 1U, 2U, 7U}) {
            SCOPED_TRACE(row.name + " at level "s + std::to_string(level));
            EXPECT_EQ(JsonWriter::writeValue(row.value, level), row.text);
        }
    }
}

TEST(JsonWriter, WritesAValueWithChildrenByItsLevel)
{
    struct Row {
        const char* name;
        JsonValue value;
        std::uint64_t level;
        const char* text;
    };
    const JsonValue two = array({integer(1), JsonValue()});
    const JsonValue pair = object({{"a", integer(1)}, {"b", JsonValue()}});
    const JsonValue arrays =
        array({array({integer(1), integer(2)}), array({}), array({integer(3)})});
    const JsonValue objects = object({{"a", object({{"b", object({{"c", integer(1)}})}})}});
    const JsonValue objectInArray = array({object({{"a", integer(1)}}), object({})});
    const JsonValue arrayInObject = object({{"a", array({integer(1), array({})})}});
    const std::vector<Row> rows = {
        {"array", two, 0, "[1, null]"},
        {"array", two, 1, "[\n    1,\n    null\n  ]"},
        {"array", two, 2, "[\n      1,\n      null\n    ]"},
        {"array", two, 3, "[\n        1,\n        null\n      ]"},
        {"array of one", array({boolean(true)}), 0, "[true]"},
        {"array of one", array({boolean(true)}), 1, "[\n    true\n  ]"},
        {"object", pair, 0, "{\"a\": 1, \"b\": null}"},
        {"object", pair, 1, "{\n    \"a\": 1,\n    \"b\": null\n  }"},
        {"object", pair, 2, "{\n      \"a\": 1,\n      \"b\": null\n    }"},
        {"object", pair, 3, "{\n        \"a\": 1,\n        \"b\": null\n      }"},
        {"object of one", object({{"k", string("v")}}), 0, "{\"k\": \"v\"}"},
        {"object of one", object({{"k", string("v")}}), 1, "{\n    \"k\": \"v\"\n  }"},
        {"arrays in an array", arrays, 0, "[[1, 2], [], [3]]"},
        {"arrays in an array", arrays, 1,
         "[\n    [\n      1,\n      2\n    ],\n    [],\n    [\n      3\n    ]\n  ]"},
        {"objects in objects", objects, 0, "{\"a\": {\"b\": {\"c\": 1}}}"},
        {"objects in objects", objects, 1,
         "{\n    \"a\": {\n      \"b\": {\n        \"c\": 1\n      }\n    }\n  }"},
        {"objects in an array", objectInArray, 0, "[{\"a\": 1}, {}]"},
        {"objects in an array", objectInArray, 1, "[\n    {\n      \"a\": 1\n    },\n    {}\n  ]"},
        {"arrays in an object", arrayInObject, 0, "{\"a\": [1, []]}"},
        {"arrays in an object", arrayInObject, 1,
         "{\n    \"a\": [\n      1,\n      []\n    ]\n  }"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name + " at level "s + std::to_string(row.level));
        EXPECT_EQ(JsonWriter::writeValue(row.value, row.level), row.text);
    }
}

TEST(JsonWriter, IndentsAnObjectsMembersByTheLevelAndItsBraceByOneLess)
{
    const JsonObject tree = members({{"a", integer(1)}, {"b", array({integer(2)})}});
    const std::vector<std::string> texts = {
        "{\"a\": 1, \"b\": [2]}",
        "{\n  \"a\": 1,\n  \"b\": [\n    2\n  ]\n}",
        "{\n    \"a\": 1,\n    \"b\": [\n      2\n    ]\n  }",
        "{\n      \"a\": 1,\n      \"b\": [\n        2\n      ]\n    }",
    };
    for (std::size_t level = 0; level < texts.size(); ++level) {
        SCOPED_TRACE("level " + std::to_string(level));
        EXPECT_EQ(JsonWriter::writeObject(tree, level), texts[level]);
    }
}

TEST(JsonWriter, WritesAnEmptyRootAsTwoBraces)
{
    for (const std::uint64_t level : {0U, 1U, 2U, 7U}) {
        SCOPED_TRACE("level " + std::to_string(level));
        EXPECT_EQ(JsonWriter::writeObject(JsonObject(), level), "{}");
    }
}

TEST(JsonWriter, IndentsAMemberByItsLevel)
{
    struct Row {
        const char* name;
        JsonValue value;
        std::uint64_t level;
        const char* text;
    };
    const std::vector<Row> rows = {
        {"integer", integer(1), 0, "\"k\": 1"},
        {"integer", integer(1), 1, "  \"k\": 1"},
        {"integer", integer(1), 3, "      \"k\": 1"},
        {"empty array", array({}), 2, "    \"k\": []"},
        {"empty object", object({}), 2, "    \"k\": {}"},
        {"array", array({integer(1)}), 0, "\"k\": [1]"},
        {"array", array({integer(1)}), 1, "  \"k\": [\n    1\n  ]"},
        {"array", array({integer(1)}), 2, "    \"k\": [\n      1\n    ]"},
        {"object", object({{"x", integer(1)}}), 0, "\"k\": {\"x\": 1}"},
        {"object", object({{"x", integer(1)}}), 1, "  \"k\": {\n    \"x\": 1\n  }"},
        {"object", object({{"x", integer(1)}}), 2, "    \"k\": {\n      \"x\": 1\n    }"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name + " at level "s + std::to_string(row.level));
        EXPECT_EQ(JsonWriter::writeMember(JsonMember{"k", row.value}, row.level), row.text);
    }
}

TEST(JsonWriter, OrdersMembersByTheBytesOfTheirKeys)
{
    const JsonObject tree = members({{"alpha", integer(1)},
                                     {"Zeta", integer(2)},
                                     {"\xc3\xa4", integer(3)},
                                     {"al", integer(4)},
                                     {"", integer(5)},
                                     {"~", integer(6)}});
    EXPECT_EQ(JsonWriter::writeObject(tree, 0),
              "{\"\": 5, \"Zeta\": 2, \"al\": 4, \"alpha\": 1, \"~\": 6, \"\xc3\xa4\": 3}");
}

TEST(JsonWriter, EscapesSevenBytesAndCopiesAllOthers)
{
    for (int byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE("byte " + std::to_string(byte));
        const std::string raw(1, static_cast<char>(byte));
        std::string expected = raw;
        switch (byte) {
        case 0x08:
            expected = R"(\b)";
            break;
        case 0x09:
            expected = R"(\t)";
            break;
        case 0x0a:
            expected = R"(\n)";
            break;
        case 0x0c:
            expected = R"(\f)";
            break;
        case 0x0d:
            expected = R"(\r)";
            break;
        case 0x22:
            expected = R"(\")";
            break;
        case 0x5c:
            expected = R"(\\)";
            break;
        default:
            break;
        }
        EXPECT_EQ(JsonWriter::writeString(raw), '"' + expected + '"');
        EXPECT_EQ(JsonWriter::writeString("<" + raw + raw + ">"),
                  "\"<" + expected + expected + ">\"");
        EXPECT_EQ(JsonWriter::writeValue(string(raw), 2), '"' + expected + '"');
        EXPECT_EQ(JsonWriter::writeMember(JsonMember{raw, integer(1)}, 0),
                  '"' + expected + "\": 1");
    }
}

TEST(JsonWriter, WritesStringsInDoubleQuotes)
{
    struct Row {
        const char* name;
        std::string bytes;
        std::string text;
    };
    const std::vector<Row> rows = {
        {"empty", "", R"("")"},
        {"plain", "decoder", R"("decoder")"},
        {"spaces", "  a b  ", R"("  a b  ")"},
        {"solidus", "/config/DECODER", R"("/config/DECODER")"},
        {"quote and backslash", R"(say "\")", R"("say \"\\\"")"},
        {"what looks like an escape", R"(\n)", R"("\\n")"},
        {"control byte", "a\x01z", "\"a\x01z\""},
        {"NUL byte", "a\0z"s, "\"a\0z\""s},
        {"DEL", "\x7f", "\"\x7f\""},
        {"UTF-8", "\xc3\xa4\xe2\x82\xac", "\"\xc3\xa4\xe2\x82\xac\""},
        {"no UTF-8", "\xff\x80", "\"\xff\x80\""},
        {"brackets and separators", "{[,:]}", R"("{[,:]}")"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(JsonWriter::writeString(row.bytes), row.text);
    }
}

TEST(JsonWriter, WritesIntegersInDecimal)
{
    struct Row {
        std::int64_t integer;
        const char* text;
    };
    const std::vector<Row> rows = {
        {0, "0"},
        {1, "1"},
        {-1, "-1"},
        {7, "7"},
        {10, "10"},
        {-10, "-10"},
        {1000000, "1000000"},
        {std::numeric_limits<std::int32_t>::max(), "2147483647"},
        {std::int64_t{1} << 32, "4294967296"},
        {std::numeric_limits<std::int64_t>::max(), "9223372036854775807"},
        {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(JsonWriter::writeValue(integer(row.integer), 2), row.text);
    }
}

TEST(JsonWriter, WritesDoublesWithUpTo34Digits)
{
    using Limits = std::numeric_limits<double>;
    struct Row {
        double number;
        const char* text;
    };
    const std::vector<Row> rows = {
        {0.0, "0"},
        {-0.0, "-0"},
        {3.0, "3"},
        {100.0, "100"},
        {150.0, "150"},
        {1.5, "1.5"},
        {2.5, "2.5"},
        {-0.5, "-0.5"},
        {0.1, "0.1000000000000000055511151231257827"},
        {1.0 / 3.0, "0.333333333333333314829616256247391"},
        {123456.789, "123456.7890000000043073669075965881"},
        {0.0001, "0.0001000000000000000047921736023859296"},
        {0.00001, "1.00000000000000008180305391403131e-05"},
        {0x1p-10, "0.0009765625"},
        {1e22, "10000000000000000000000"},
        {1e34, "9999999999999999455752309870428160"},
        {1e35, "9.999999999999999686336610791797555e+34"},
        {1e300, "1.00000000000000005250476025520442e+300"},
        {Limits::max(), "1.797693134862315708145274237317044e+308"},
        {Limits::lowest(), "-1.797693134862315708145274237317044e+308"},
        {Limits::min(), "2.225073858507201383090232717332404e-308"},
        {Limits::denorm_min(), "4.940656458412465441765687928682214e-324"},
        {-Limits::denorm_min(), "-4.940656458412465441765687928682214e-324"},
        {Limits::infinity(), "inf"},
        {-Limits::infinity(), "-inf"},
        {Limits::quiet_NaN(), "nan"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(JsonWriter::writeValue(real(row.number), 0), row.text);
        EXPECT_EQ(JsonWriter::writeValue(real(row.number), 2), row.text);
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

// Where the room for a text ends is nobody's business: it has to be enough at every place.
TEST(JsonWriter, IndentsAtEveryLengthOfTheTextBefore)
{
    for (const std::uint64_t level : {1U, 7U, 8U, 9U, 30U, 100U}) {
        SCOPED_TRACE(level);
        const std::string outer = "\n" + std::string(2 * level, ' ');
        const std::string inner = outer + "  ";
        for (std::size_t length = 0; length < 300; ++length) {
            const std::string filling(length, 'x');
            ASSERT_EQ(JsonWriter::writeValue(array({string(filling), array({integer(1)})}), level),
                      "[" + inner + '"' + filling + "\"," + inner + "[" + inner + "  1" + inner +
                          "]" + outer + "]");
        }
    }
}

TEST(JsonWriter, EscapesAtEveryLengthOfTheTextBefore)
{
    for (std::size_t length = 0; length < 60; ++length) {
        const std::string filling(length, 'x');
        std::string escaped;
        for (std::size_t count = 0; count < 60; ++count) {
            ASSERT_EQ(JsonWriter::writeValue(
                          array({string(filling), string(std::string(count, '\n'))}), 0),
                      "[\"" + filling + "\", \"" + escaped + "\"]");
            escaped += "\\n";
        }
    }
}

}  // namespace
