// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <random>
#include <string>

#include "json/ByteSet.h"
#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

// What the rows of tests/dialect/ would be too many for.
namespace {

// Takes the place of the C library's, for this executable: it reads "0b101" as C23 has it
// (7.24.1.7) and "0o17" likewise, whichever library the tests run with. The rows of tests/dialect/
// say that neither is a number.
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

TEST(JsonParser, ReturnsZeroForSuccess)
{
    EXPECT_EQ(static_cast<std::int32_t>(parse("{}").code), 0);
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
                const JsonValue expected = real(std::strtod(text.c_str(), nullptr));
                EXPECT_EQ(parse("{\"a\":[" + text + "," + text + "]}"),
                          accepted(members({{"a", array({expected, expected})}})));
            }
        }
    }
}

std::string byteOf(int number)
{
    return std::string(1, static_cast<char>(number));
}

// The parser's sets are made by the compiler.
TEST(ByteSet, HoldsEachByteAloneWhateverItsSign)
{
    for (int number = 0; number < 256; ++number) {
        const ByteSet set(byteOf(number));
        for (int other = 0; other < 256; ++other) {
            EXPECT_EQ(set.contains(static_cast<char>(other)), other == number);
        }
    }
}

struct Token {
    std::string text;
    JsonCode code;  ///< of a byte after it that may not stand there
};

/// Of a text that a closing brace completes.
const Token tokens[] = {
    {"{", JsonCode::keyExpected},
    {"\"a\"", JsonCode::colonExpected},
    {":", JsonCode::badNumber},
    {"\"x\"", JsonCode::memberSeparatorExpected},
    {",", JsonCode::keyExpected},
    {"\"b\"", JsonCode::colonExpected},
    {":", JsonCode::badNumber},
    {"{", JsonCode::keyExpected},
    {"}", JsonCode::memberSeparatorExpected},
    {",", JsonCode::keyExpected},
    {"\"c\"", JsonCode::colonExpected},
    {":", JsonCode::badNumber},
    {"[", JsonCode::badNumber},
    {"\"x\"", JsonCode::elementSeparatorExpected},
    {",", JsonCode::badNumber},
    {"[", JsonCode::badNumber},
    {"]", JsonCode::elementSeparatorExpected},
    {",", JsonCode::badNumber},
    {"]", JsonCode::memberSeparatorExpected},
    {",", JsonCode::keyExpected},
};

TEST(JsonParser, SkipsFourBytesBetweenTokensAndRefusesTheOthers)
{
    std::string text;
    for (const Token& token : tokens) {
        text += token.text;
    }
    const Outcome without = parse(text + "}");
    ASSERT_EQ(without.code, JsonCode::ok);
    std::string before;
    for (const Token& token : tokens) {
        before += token.text;
        const std::string after = text.substr(before.size()) + "}";
        for (int number = 0; number < 256; ++number) {
            if (number > ' ' && number <= '}') {
                continue;  // it may begin a token
            }
            SCOPED_TRACE(before + ", byte " + std::to_string(number));
            const std::string byte = byteOf(number);
            const bool isSkipped = byte == "\t" || byte == "\n" || byte == "\r" || byte == " ";
            EXPECT_EQ(parse(before + " " + byte + " " + after),
                      isSkipped ? without : refused(token.code, before.size() + 1));
        }
    }
}

/// As a value and as a key, a string with these bytes is read as one with those, or else refused
/// with the code, which is about the last byte. Whatever is wrong with a key, its code is one.
void expectInString(const std::string& bytes, const std::optional<std::string>& read, JsonCode code)
{
    SCOPED_TRACE(testing::PrintToString(bytes));
    const std::string value = "{\"k\":\"<" + bytes;
    const std::string key = "{\"<" + bytes;
    EXPECT_EQ(parse(value + ">\"}"), read ? accepted(members({{"k", string("<" + *read + ">")}}))
                                          : refused(code, value.size() - 1));
    EXPECT_EQ(parse(key + ">\":1}"), read ? accepted(members({{"<" + *read + ">", integer(1)}}))
                                          : refused(JsonCode::badKey, key.size() - 1));
}

TEST(JsonParser, KeepsEveryByteOfAStringFrom32UpAndReadsSevenEscapes)
{
    const std::map<std::string, std::string> escapes = {
        {"\"", "\x22"}, {"\\", "\x5c"}, {"b", "\x08"}, {"f", "\x0c"},
        {"n", "\x0a"},  {"r", "\x0d"},  {"t", "\x09"}};
    for (int number = 0; number < 256; ++number) {
        const std::string byte = byteOf(number);
        const auto escape = escapes.find(byte);
        if (number < 32) {
            expectInString(byte, {}, JsonCode::controlByteInString);
            expectInString("\\" + byte, {}, JsonCode::controlByteInString);
            continue;
        }
        if (byte != "\"" && byte != "\\") {
            expectInString(byte, byte, JsonCode::ok);
        }
        if (escape == escapes.end()) {
            expectInString("\\" + byte, {}, JsonCode::unknownEscape);
        } else {
            expectInString("\\" + byte, escape->second, JsonCode::ok);
        }
    }
}

}  // namespace
