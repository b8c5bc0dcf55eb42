// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonNumber.h"

#include <array>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "json/ByteSet.h"

namespace {

constexpr ByteSet valueTerminators(" \n\t\r,]}");
constexpr ByteSet baseLetters("bBoO");

/// Whether the conversions of newer C libraries read the number as binary, "0b101" (C23, 7.24.1.7),
/// or octal, "0o17". Here neither is a number, whichever library the program runs with.
bool hasBinaryOrOctalPrefix(const char* text)
{
    text += std::strspn(text, " \t\n\v\f\r");
    if (*text == '+' || *text == '-') {
        ++text;
    }
    return text[0] == '0' && baseLetters.contains(text[1]);
}

/// Reads as many decimal digits as there are, modulo 2 to the power of 64.
const char* readDigits(const char* text, std::uint64_t& value)
{
    while (*text >= '0' && *text <= '9') {
        value = value * 10 + static_cast<std::uint64_t>(*text - '0');
        ++text;
    }
    return text;
}

/// Reads the two spellings that nearly all numbers have, at a tenth of what the library's functions
/// cost and with the same result: a decimal integer of so few digits that it fits whatever they
/// are; and digits, a point, and more digits, of so few that a double holds them and the power of
/// ten that divides them exactly: then the quotient is the nearest double. Returns the end of the
/// number, or null, with the value as it was, for any other text.
const char* readPlainNumber(const char* text, JsonValue& value)
{
    static constexpr std::array<double, 16> powersOfTen = {
        1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const bool negative = *text == '-';
    const char* const digits = negative ? text + 1 : text;
    std::uint64_t magnitude = 0;
    const char* end = readDigits(digits, magnitude);
    if (*end != '.') {
        // A zero in front of other digits makes them octal.
        const bool octal = *digits == '0' && end - digits > 1;
        if (end == digits || end - digits > 18 || octal || !valueTerminators.contains(*end)) {
            return nullptr;
        }
        value.setInteger(static_cast<std::int64_t>(negative ? -magnitude : magnitude));
        return end;
    }
    const char* const decimals = end + 1;
    end = readDigits(decimals, magnitude);
    // A point alone is no number. A quotient with more digits than a double's is rounded twice.
    if (FLT_EVAL_METHOD != 0 || end - digits < 2 || end - digits > 16 ||
        !valueTerminators.contains(*end)) {
        return nullptr;
    }
    const double quotient =
        static_cast<double>(magnitude) / powersOfTen[static_cast<std::size_t>(end - decimals)];
    value.setReal(negative ? -quotient : quotient);
    return end;
}

}  // namespace

const char* readNumber(const char* text, JsonValue& value)
{
    if (const char* const end = readPlainNumber(text, value)) {
        return end;
    }
    if (valueTerminators.contains(*text)) {
        value.setInteger(0);
        return text;
    }
    if (hasBinaryOrOctalPrefix(text)) {
        return nullptr;
    }
    char* end = nullptr;
    const std::int64_t integer = std::strtoll(text, &end, 0);
    if (valueTerminators.contains(*end)) {
        value.setInteger(integer);
        return end;
    }
    const double real = std::strtod(text, &end);
    if (valueTerminators.contains(*end)) {
        value.setReal(real);
        return end;
    }
    return nullptr;
}

void appendNumber(std::int64_t integer, std::string& text)
{
    std::array<char, 20> digits;  // "-9223372036854775808"
    const char* const end = std::to_chars(digits.begin(), digits.end(), integer).ptr;
    text += std::string_view(digits.data(), end);
}

void appendNumber(double real, std::string& text)
{
    if (std::isnan(real)) {
        // Of a NaN some libraries write more than its sign.
        text += std::signbit(real) ? "-nan" : "nan";
        return;
    }
    std::array<char, 48> digits;  // sign, point, 34 digits, 4 zeros or a 5-byte exponent
    const char* const end =
        std::to_chars(digits.begin(), digits.end(), real, std::chars_format::general, 34).ptr;
    text += std::string_view(digits.data(), end);
}
