// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/dialect/Description.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

// Each appends to the text, whose cost would otherwise grow with the square of the depth.

void append(const JsonValue& value, std::string& text);

void append(const std::string& string, std::string& text)
{
    text += std::to_string(string.size());
    text += ':';
    text += string;
}

void append(double number, std::string& text)
{
    if (std::isnan(number)) {
        text += std::signbit(number) ? "-nan" : "nan";
        return;
    }
    std::array<char, 16> digits{};
    const auto bits = std::bit_cast<std::uint64_t>(number);
    char* const end = std::to_chars(digits.begin(), digits.end(), bits, 16).ptr;
    text.append(static_cast<std::size_t>(digits.end() - end), '0').append(digits.begin(), end);
}

void append(const JsonObject& object, std::string& text)
{
    text += "(";
    for (const JsonMember& member : object) {
        append(member.name, text);
        text += "=";
        append(member.value, text);
        text += ",";
    }
    text += ")";
}

void append(const JsonArray& array, std::string& text)
{
    text += "(";
    for (const JsonValue& element : array) {
        append(element, text);
        text += ",";
    }
    text += ")";
}

void append(const JsonValue& value, std::string& text)
{
    text += shortName(value.type());
    text += ' ';
    switch (value.type()) {
    case JsonType::integer:
        text += std::to_string(value.integer());
        break;
    case JsonType::real:
        append(value.real(), text);
        break;
    case JsonType::boolean:
        text += value.boolean() ? "1" : "0";
        break;
    case JsonType::string:
        append(value.string(), text);
        break;
    case JsonType::object:
        append(value.object(), text);
        break;
    case JsonType::array:
        append(value.array(), text);
        break;
    default:
        break;
    }
}

}  // namespace

std::string describe(const JsonValue& value)
{
    std::string text;
    append(value, text);
    return text;
}

std::string describe(const JsonObject& object)
{
    std::string text;
    append(object, text);
    return text;
}
