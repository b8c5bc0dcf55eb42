// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonNumber.h"

#include <array>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

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

// The two plain spellings that nearly all numbers have are read here, at a tenth of what the
// library's functions cost and with the same result. Each returns the end of the number, or the
// beginning of any other text.

/// A decimal integer of so few digits that it fits whatever they are.
const char* readPlainInteger(const char* text, std::int64_t& integer)
{
    const bool negative = *text == '-';
    const char* const digits = negative ? text + 1 : text;
    std::uint64_t value = 0;
    const char* const end = readDigits(digits, value);
    // A zero in front makes the digits octal.
    if (end == digits || end - digits > 18 || *digits == '0') {
        return text;
    }
    integer = static_cast<std::int64_t>(negative ? -value : value);
    return end;
}

/// Digits, a point, and more digits, of so few that a double holds them and the power of ten that
/// divides them exactly: then the quotient is the nearest double.
const char* readPlainDecimal(const char* text, double& real)
{
    static constexpr std::array<double, 16> powersOfTen = {
        1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    static_assert(FLT_EVAL_METHOD == 0, "doubles are divided as doubles");
    const bool negative = *text == '-';
    const char* const digits = negative ? text + 1 : text;
    std::uint64_t value = 0;
    const char* const point = readDigits(digits, value);
    if (*point != '.') {
        return text;
    }
    const char* const end = readDigits(point + 1, value);
    // A point alone is no number.
    if (end - digits < 2 || end - digits > 16) {
        return text;
    }
    real = static_cast<double>(value) / powersOfTen[static_cast<std::size_t>(end - point - 1)];
    if (negative) {
        real = -real;
    }
    return end;
}

}  // namespace

const char* readNumber(const char* text, JsonValue& value)
{
    const auto endsValue = [](const char* end) { return valueTerminators.contains(*end); };
    std::int64_t integer = 0;  // also what a missing value reads as
    double real = 0;
    if (const char* const end = readPlainInteger(text, integer); endsValue(end)) {
        value.setInteger(integer);
        return end;
    }
    if (const char* const end = readPlainDecimal(text, real); endsValue(end)) {
        value.setReal(real);
        return end;
    }
    if (hasBinaryOrOctalPrefix(text)) {
        return nullptr;
    }
    char* end = nullptr;
    integer = std::strtoll(text, &end, 0);
    if (endsValue(end)) {
        value.setInteger(integer);
        return end;
    }
    real = std::strtod(text, &end);
    if (endsValue(end)) {
        value.setReal(real);
        return end;
    }
    return nullptr;
}
