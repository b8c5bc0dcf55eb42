// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonWriter.h"

#include <array>
#include <charconv>

// Each function appends to one text that grows, so that no piece of it is copied on the way up.
namespace {

void appendValue(std::string& text, const JsonValue& value, std::uint64_t level);

void appendIndentation(std::string& text, std::uint64_t level)
{
    text.append(2 * level, ' ');
}

void appendInteger(std::string& text, std::int64_t integer)
{
    std::array<char, 20> digits{};  // "-9223372036854775808"
    const auto result = std::to_chars(digits.begin(), digits.end(), integer);
    text.append(digits.begin(), result.ptr);
}

void appendNumber(std::string& text, double number)
{
    std::array<char, 48> digits{};  // sign, point, 34 digits, 4 leading zeros or a 5-byte exponent
    const auto result =
        std::to_chars(digits.begin(), digits.end(), number, std::chars_format::general, 34);
    text.append(digits.begin(), result.ptr);
}

/// The letter that escapes the byte behind a backslash, or NUL for a byte written as it is.
char escapeLetter(char byte)
{
    switch (byte) {
    case '\b':
        return 'b';
    case '\t':
        return 't';
    case '\n':
        return 'n';
    case '\f':
        return 'f';
    case '\r':
        return 'r';
    case '"':
    case '\\':
        return byte;
    default:
        return '\0';
    }
}

void appendString(std::string& text, const std::string& string)
{
    text += '"';
    std::size_t run = 0;
    for (std::size_t index = 0; index < string.size(); ++index) {
        if (const char letter = escapeLetter(string[index]); letter != '\0') {
            text.append(string, run, index - run);
            text += '\\';
            text += letter;
            run = index + 1;
        }
    }
    text.append(string, run);
    text += '"';
}

void appendMember(std::string& text, const JsonMember& member, std::uint64_t level)
{
    appendIndentation(text, level);
    appendString(text, member.name);
    text += ": ";
    appendValue(text, member.value, level);
}

void appendObject(std::string& text, const JsonObject& object, std::uint64_t level)
{
    if (object.empty()) {
        text += "{}";
        return;
    }
    const bool compact = level == 0;
    const char* separator = compact ? "{" : "{\n";
    for (const auto& [key, member] : object) {
        text += separator;
        appendMember(text, member, level);
        separator = compact ? ", " : ",\n";
    }
    if (!compact) {
        text += '\n';
        appendIndentation(text, level - 1);
    }
    text += '}';
}

void appendArray(std::string& text, const JsonArray& array, std::uint64_t level)
{
    if (array.empty()) {
        text += "[]";
        return;
    }
    const bool compact = level == 0;
    const std::uint64_t inner = compact ? 0 : level + 1;
    const char* separator = compact ? "[" : "[\n";
    for (const JsonValue& element : array) {
        text += separator;
        appendIndentation(text, inner);
        appendValue(text, element, inner);
        separator = compact ? ", " : ",\n";
    }
    if (!compact) {
        text += '\n';
        appendIndentation(text, level);
    }
    text += ']';
}

void appendValue(std::string& text, const JsonValue& value, std::uint64_t level)
{
    switch (value.type()) {
    case JsonType::integer:
        appendInteger(text, value.integer());
        break;
    case JsonType::number:
        appendNumber(text, value.number());
        break;
    case JsonType::boolean:
        text += value.boolean() ? "true" : "false";
        break;
    case JsonType::string:
        appendString(text, value.string());
        break;
    case JsonType::object:
        appendObject(text, value.object(), level == 0 ? 0 : level + 1);
        break;
    case JsonType::array:
        appendArray(text, value.array(), level);
        break;
    default:
        text += "null";
        break;
    }
}

}  // namespace

std::string JsonWriter::writeValue(const JsonValue& value, std::uint64_t level)
{
    std::string text;
    appendValue(text, value, level);
    return text;
}

std::string JsonWriter::writeObject(const JsonObject& object, std::uint64_t level)
{
    std::string text;
    appendObject(text, object, level);
    return text;
}

std::string JsonWriter::writeMember(const JsonMember& member, std::uint64_t level)
{
    std::string text;
    appendMember(text, member, level);
    return text;
}

std::string JsonWriter::writeString(const std::string& string)
{
    std::string text;
    appendString(text, string);
    return text;
}
