// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

namespace {

TEST(JsonParser, ReadsSevenEscapesAndRefusesAllOthers)
{
    for (int number = 0; number < 256; ++number) {
        SCOPED_TRACE("byte " + std::to_string(number));
        const std::string byte = byteOf(number);
        std::string meant;
        switch (number) {
        case '"':
            meant = "\x22";
            break;
        case '\\':
            meant = "\x5c";
            break;
        case 'b':
            meant = "\x08";
            break;
        case 'f':
            meant = "\x0c";
            break;
        case 'n':
            meant = "\x0a";
            break;
        case 'r':
            meant = "\x0d";
            break;
        case 't':
            meant = "\x09";
            break;
        default:
            break;
        }
        const std::string value = R"({"a":"<\)" + byte + R"(>"})";
        const std::string element = R"({"a":["<\)" + byte + R"(>"]})";
        const std::string key = R"({"<\)" + byte + R"(>":1})";
        if (!meant.empty()) {
            const std::string expected = "<" + meant + ">";
            EXPECT_EQ(parse(value), accepted(members({{"a", string(expected)}})));
            EXPECT_EQ(parse(element), accepted(members({{"a", array({string(expected)})}})));
            EXPECT_EQ(parse(key), accepted(members({{expected, integer(1)}})));
            continue;
        }
        const JsonCode code = number < 32 ? JsonCode::controlByteInString : JsonCode::unknownEscape;
        EXPECT_EQ(parse(value), refused(code, 8));
        EXPECT_EQ(parse(element), refused(code, 9));
        EXPECT_EQ(parse(key), refused(JsonCode::badKey, 4));
    }
}

TEST(JsonParser, KeepsEveryByteFrom32UpAndRefusesAllBelow)
{
    for (int number = 0; number < 256; ++number) {
        const std::string byte = byteOf(number);
        if (isOneOf("\"\\", byte)) {
            continue;
        }
        SCOPED_TRACE("byte " + std::to_string(number));
        const std::string bytes = "<" + byte + byte + ">";
        const std::string value = R"({"a":")" + bytes + R"("})";
        const std::string element = R"({"a":[")" + bytes + R"("]})";
        const std::string key = R"({")" + bytes + R"(":1})";
        if (number >= 32) {
            EXPECT_EQ(parse(value), accepted(members({{"a", string(bytes)}})));
            EXPECT_EQ(parse(element), accepted(members({{"a", array({string(bytes)})}})));
            EXPECT_EQ(parse(key), accepted(members({{bytes, integer(1)}})));
            continue;
        }
        EXPECT_EQ(parse(value), refused(JsonCode::controlByteInString, 7));
        EXPECT_EQ(parse(element), refused(JsonCode::controlByteInString, 8));
        EXPECT_EQ(parse(key), refused(JsonCode::badKey, 3));
    }
}

TEST(JsonParser, ReadsStringsWhole)
{
    struct Row {
        std::string text;
        std::string bytes;
    };
    const std::vector<Row> rows = {
        {R"("")", ""},
        {R"("  a  b  ")", "  a  b  "},
        {R"("{[,:]}")", "{[,:]}"},
        {R"("\"")", "\""},
        {R"("\\")", "\\"},
        {R"("\\\"\\")", "\\\"\\"},
        {R"("\\n")", "\\n"},
        {R"("\b\f\n\r\t\"\\")", "\b\f\n\r\t\"\\"},
        {R"("a\tb\\c\"d")", "a\tb\\c\"d"},
        {R"("/config/ENCODER")", "/config/ENCODER"},
        {"\"\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\xa5\"", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\xa5"},
        {"\"\xff\xfe\x80\"", "\xff\xfe\x80"},
        {'"' + std::string(5000, 'x') + '"', std::string(5000, 'x')},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(parse("{\"a\":" + row.text + "}"), accepted(members({{"a", string(row.bytes)}})));
        EXPECT_EQ(parse("{" + row.text + ":1}"), accepted(members({{row.bytes, integer(1)}})));
    }
}

}  // namespace
