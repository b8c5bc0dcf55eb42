// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

using namespace std::string_literals;

namespace {

// Takes the place of the C library's, for this executable: it reads "0b101" as C23 has it
// (7.24.1.7) and "0o17" likewise, whichever library the tests run with.
extern "C" long long strtoll(const char* text, char** end, int base) noexcept
{
    const char* const sign = text + std::strspn(text, " \t\n\v\f\r");
    const char* const prefix = sign + (*sign == '+' || *sign == '-' ? 1 : 0);
    const bool binary = std::strncmp(prefix, "0b", 2) == 0 || std::strncmp(prefix, "0B", 2) == 0;
    const bool octal = std::strncmp(prefix, "0o", 2) == 0 || std::strncmp(prefix, "0O", 2) == 0;
    if (base != 0 || !(binary || octal)) {
        return strtoimax(text, end, base);
    }
    const std::intmax_t value = strtoimax(prefix + 2, end, binary ? 2 : 8);
    return *sign == '-' ? -value : value;
}

/// As a member and as an element.
void expectNumber(const std::string& text, const JsonValue& expected)
{
    EXPECT_EQ(parse("{\"a\":" + text + "}"), accepted(members({{"a", expected}})));
    EXPECT_EQ(parse("{\"a\":[" + text + "]}"), accepted(members({{"a", array({expected})}})));
}

/// As a member and as an element.
void expectNoNumber(const std::string& text)
{
    EXPECT_EQ(parse("{\"a\":" + text + "}"), refused(JsonCode::badNumber, 5));
    EXPECT_EQ(parse("{\"a\":[" + text + "]}"), refused(JsonCode::badNumber, 6));
}

TEST(JsonParser, ReadsNumbersAsStrtollAndStrtodDo)
{
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
    struct Row {
        const char* text;
        JsonValue expected;
    };
    const std::vector<Row> rows = {
        // Decimal.
        {"0", integer(0)},
        {"-0", integer(0)},
        {"+0", integer(0)},
        {"5", integer(5)},
        {"+5", integer(5)},
        {"-5", integer(-5)},
        {"10", integer(10)},
        {"-9", integer(-9)},
        {"1234567890123", integer(1234567890123)},
        {"99999999999999999", integer(99999999999999999)},
        {"-99999999999999999", integer(-99999999999999999)},
        {"999999999999999999", integer(999999999999999999)},
        {"-999999999999999999", integer(-999999999999999999)},
        {"1000000000000000000", integer(1000000000000000000)},
        {"-1000000000000000000", integer(-1000000000000000000)},
        {"+1234567890123456789", integer(1234567890123456789)},
        // A leading zero: octal, or a double if a digit is not octal.
        {"00", integer(0)},
        {"007", integer(7)},
        {"010", integer(8)},
        {"-010", integer(-8)},
        {"+0777", integer(511)},
        {"08", real(8.0)},
        {"09", real(9.0)},
        {"-08", real(-8.0)},
        {"018", real(18.0)},
        {"0778", real(778.0)},
        {"0123.5", real(123.5)},
        // Hexadecimal.
        {"0x0", integer(0)},
        {"0x10", integer(16)},
        {"0x1A", integer(26)},
        {"0X1a", integer(26)},
        {"-0xff", integer(-255)},
        {"+0xFF", integer(255)},
        {"0x0b1", integer(177)},
        {"0x1e5", integer(485)},
        // The ends of the range, and beyond them.
        {"9223372036854775806", integer(most - 1)},
        {"9223372036854775807", integer(most)},
        {"9223372036854775808", integer(most)},
        {"10000000000000000000", integer(most)},
        {"18446744073709551615", integer(most)},
        {"123456789012345678901234567890", integer(most)},
        {"-9223372036854775807", integer(least + 1)},
        {"-9223372036854775808", integer(least)},
        {"-9223372036854775809", integer(least)},
        {"-123456789012345678901234567890", integer(least)},
        {"0x7fffffffffffffff", integer(most)},
        {"0x8000000000000000", integer(most)},
        {"0xffffffffffffffff", integer(most)},
        {"-0x8000000000000000", integer(least)},
        {"-0x8000000000000001", integer(least)},
        {"0777777777777777777777", integer(most)},
        {"01000000000000000000000", integer(most)},
        {"-01000000000000000000001", integer(least)},
        // Doubles.
        {"0.0", real(0.0)},
        {"-0.0", real(-0.0)},
        {"+0.0", real(0.0)},
        {"0e0", real(0.0)},
        {"1.0", real(1.0)},
        {"1.5", real(1.5)},
        {"123456789012345678.0", real(123456789012345678.0)},
        {"1234567890123456789e0", real(1234567890123456789.0)},
        {"+1.5", real(1.5)},
        {"-1.5", real(-1.5)},
        {"0.1", real(0.1)},
        {"0.1000000000000000055511151231257827", real(0.1)},
        {"1.", real(1.0)},
        {".5", real(0.5)},
        {"-.5", real(-0.5)},
        {"1e3", real(1000.0)},
        {"1E3", real(1000.0)},
        {"1e+3", real(1000.0)},
        {"1.5e2", real(150.0)},
        {"25e-2", real(0.25)},
        {"1e19", real(1e19)},
        {"1e300", real(1e300)},
        {"1.7976931348623157e308", real(std::numeric_limits<double>::max())},
        {"5e-324", real(std::numeric_limits<double>::denorm_min())},
        {"1e400", real(infinity)},
        {"-1e400", real(-infinity)},
        {"1e-400", real(0.0)},
        {"-1e-400", real(-0.0)},
        // Hexadecimal floating point.
        {"0x1p4", real(16.0)},
        {"0X1.8P1", real(3.0)},
        {"0x.8", real(0.5)},
        {"-0x1p-1", real(-0.5)},
        {"0x1.", real(1.0)},
        // Infinity, and not a number.
        {"inf", real(infinity)},
        {"INF", real(infinity)},
        {"+inf", real(infinity)},
        {"-inf", real(-infinity)},
        {"infinity", real(infinity)},
        {"-Infinity", real(-infinity)},
        {"NaN", real(notANumber)},
        {"NAN", real(notANumber)},
        {"Nan", real(notANumber)},
        {"-nan", real(notANumber)},
        {"+nan", real(notANumber)},
        {"NaN(1)", real(notANumber)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        expectNumber(row.text, row.expected);
    }
}

TEST(JsonParser, ReadsEveryDecimalAsStrtodDoes)
{
    std::mt19937_64 bits(1);
    const auto digits = [&bits](std::uint64_t count) {
        std::string text;
        for (; count > 0; --count) {
            text += static_cast<char>('0' + bits() % 10);
        }
        return text;
    };
    for (std::uint64_t before = 0; before <= 18; ++before) {
        for (std::uint64_t after = before == 0 ? 1 : 0; after <= 18; ++after) {
            for (int times = 0; times < 20; ++times) {
                const std::string text =
                    (times % 2 == 0 ? "" : "-") + digits(before) + "." + digits(after);
                SCOPED_TRACE(text);
                expectNumber(text, real(std::strtod(text.c_str(), nullptr)));
            }
        }
    }
}

TEST(JsonParser, RefusesWhatIsNoNumber)
{
    for (const std::string& text :
         {"1x"s,    "1.5x"s,   "1.5.5"s, "1e"s,      "1e+"s,  "1ex"s,   "--1"s,    "+-1"s,
          "-+1"s,   "- 1"s,    "+ 1"s,   "-"s,       "+"s,    "."s,     "-."s,     "e5"s,
          "0x"s,    "0xg"s,    "0x1g"s,  "-0x"s,     "0x1p"s, "0x."s,   "x10"s,    "08x"s,
          "1_000"s, "1'000"s,  "1:"s,    "1\""s,     "1["s,   "1{"s,    "1/**/"s,  "1;"s,
          "0\0"s,   "-0\0"s,   "1\0"s,   "1\f"s,     "1\v"s,  "1.5\f"s, "1.5\v "s, "inf\f"s,
          "1\x01"s, "1\x80"s,  "infi"s,  "infinit"s, "in"s,   "i"s,     "infx"s,   "NaNx"s,
          "NaN("s,  "NaN(-)"s, "N"s,     "Null"s,    "NULL"s, "True"s,  "TRUE"s,   "False"s,
          "FALSE"s, "None"s,   "yes"s,   "x"s,       "$"s,    "'a'"s,   "\\"s,     "/"s,
          ":"s,     "(1)"s}) {
        SCOPED_TRACE(testing::PrintToString(text));
        expectNoNumber(text);
        EXPECT_EQ(parse("{\"a\": \n" + text + ",\"b\":1}"), refused(JsonCode::badNumber, 7));
    }
}

TEST(JsonParser, ReadsNoBinaryAndNoPrefixedOctalNumbers)
{
    for (const std::string text : {"0b101", "0B1", "-0b1", "+0b1", "0b0", "0b", "0b2", "0o17",
                                   "0O17", "-0o7", "+0o7", "0o", "0b1.5", "0b1e3"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(parse("{\"a\":" + text + "}"), refused(JsonCode::badNumber, 5));
        EXPECT_EQ(parse("{\"a\":[1," + text + "]}"), refused(JsonCode::badNumber, 8));
        EXPECT_EQ(parse("{\"a\": " + text + " ,\"b\":1}"), refused(JsonCode::badNumber, 6));
    }
}

TEST(JsonParser, LooksForNoPrefixAfterAMissingValue)
{
    EXPECT_EQ(parse(R"({"a":[,0b1]})"), refused(JsonCode::badNumber, 7));
    EXPECT_EQ(parse(R"({"a":,0b1})"), refused(JsonCode::keyExpected, 6));
    EXPECT_EQ(parse(R"({"a":[]0b1})"), refused(JsonCode::memberSeparatorExpected, 7));
    EXPECT_EQ(parse(R"({"a":[1,]0b1})"), refused(JsonCode::memberSeparatorExpected, 9));
    EXPECT_EQ(parse(R"({"a":}0b1})"), refused(JsonCode::trailingText, 6));
}

TEST(JsonParser, EndsANumberAtWhitespaceCommaAndClosingBrackets)
{
    struct Row {
        const char* text;
        JsonValue expected;
    };
    for (const Row& row : {Row{"17", integer(17)}, Row{"0x11", integer(17)}, Row{"1.5", real(1.5)},
                           Row{"08", real(8.0)}}) {
        const std::string text = row.text;
        for (const std::string end : {"\t", "\n", "\r", " ", ","}) {
            SCOPED_TRACE(text + testing::PrintToString(end));
            expectNumber(text + end, row.expected);
        }
        SCOPED_TRACE(text);
        expectNumber(text, row.expected);
        // Each closing bracket ends the number, even the one that does not fit.
        EXPECT_EQ(parse("{\"a\":" + text + "]}"),
                  refused(JsonCode::memberSeparatorExpected, 5 + text.size()));
        EXPECT_EQ(parse("{\"a\":[" + text + "}"),
                  refused(JsonCode::elementSeparatorExpected, 6 + text.size()));
    }
}

TEST(JsonParser, EndsANumberAtNoOtherByte)
{
    for (int number = 0; number < 256; ++number) {
        const std::string byte = byteOf(number);
        if (isOneOf("\t\n\r ,]}", byte) || isOneOf("0123456789.", byte)) {
            continue;
        }
        SCOPED_TRACE("byte " + std::to_string(number));
        EXPECT_EQ(parse("{\"a\":1" + byte + "}"), refused(JsonCode::badNumber, 5));
        EXPECT_EQ(parse("{\"a\":1.5" + byte + "}"), refused(JsonCode::badNumber, 5));
        EXPECT_EQ(parse("{\"a\":[1" + byte + "]}"), refused(JsonCode::badNumber, 6));
    }
}

TEST(JsonParser, TakesAByteThatBeginsNoOtherValueForANumber)
{
    for (int number = 0; number < 256; ++number) {
        const std::string byte = byteOf(number);
        if (isOneOf("\t\n\r ,]}", byte) || isOneOf("0123456789[{\"tfn", byte)) {
            continue;
        }
        SCOPED_TRACE("byte " + std::to_string(number));
        expectNoNumber(byte);
    }
}

TEST(JsonParser, LeavesFormFeedAndVerticalTabBeforeANumberToTheConversion)
{
    struct Row {
        const char* text;
        JsonValue expected;
    };
    const std::vector<Row> rows = {
        {"\f5", integer(5)},
        {"\v5", integer(5)},
        {"\f\v \t\n\r-5", integer(-5)},
        {"\v1.5", real(1.5)},
        {"\f-0.0", real(-0.0)},
        {"\v0x10", integer(16)},
        {"\f010", integer(8)},
        {"\v08", real(8.0)},
        {"\finf", real(std::numeric_limits<double>::infinity())},
        {"\vnan", real(std::numeric_limits<double>::quiet_NaN())},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        expectNumber(row.text, row.expected);
    }
}

TEST(JsonParser, RefusesFormFeedAndVerticalTabWithoutANumberAfterThem)
{
    expectRefused({{"{\"a\":", "\f}"},
                   {"{\"a\":", "\v}"},
                   {"{\"a\":", "\f,\"b\":1}"},
                   {"{\"a\":", "\ftrue}"},
                   {"{\"a\":", "\vnull}"},
                   {"{\"a\":", "\f\"x\"}"},
                   {"{\"a\":", "\v[]}"},
                   {"{\"a\":", "\f{}}"},
                   {"{\"a\":[", "\f]}"},
                   {"{\"a\":[1,", "\v]}"},
                   {"{\"a\":", "\f0b1}"},
                   {"{\"a\":", "\v-0o7}"},
                   {"{\"a\":", "\f \v0B1}"}},
                  JsonCode::badNumber);
}

}  // namespace
