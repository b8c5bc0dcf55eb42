// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonParser.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "json/JsonObject.h"

namespace {

bool isWhitespace(char byte)
{
    return byte == ' ' || byte == '\n' || byte == '\t' || byte == '\r';
}

// Char may be signed: as it stands, a byte above 127 would compare as less than 32.
bool isControl(char byte)
{
    return static_cast<unsigned char>(byte) < 32;
}

bool endsNumber(char byte)
{
    return isWhitespace(byte) || byte == ',' || byte == ']' || byte == '}';
}

/// Any byte that stands for itself inside a string.
bool isPlain(char byte)
{
    return !isControl(byte) && byte != '"' && byte != '\\';
}

// The conversions of newer C libraries read "0b101" as binary (C23, 7.24.1.7) and some will read
// "0o17" as octal. Here neither is a number, whichever library the program runs with.
bool hasNewerPrefix(const char* text)
{
    text += std::strspn(text, " \t\n\v\f\r");
    if (*text == '+' || *text == '-') {
        ++text;
    }
    return text[0] == '0' && text[1] != '\0' && std::strchr("bBoO", text[1]) != nullptr;
}

/// The end of a decimal integer of up to 18 digits without prefix, its value in the integer; or null
/// for any other text. It is what strtoll(3) makes of most numbers, at a tenth of the cost.
const char* readPlainInteger(const char* text, std::int64_t& integer)
{
    constexpr int safeDigits = 18;  // no more fit into 64 bits whatever they are
    const bool negative = *text == '-';
    const char* const digits = negative ? text + 1 : text;
    const char* end = digits;
    std::int64_t value = 0;
    while (*end >= '0' && *end <= '9' && end - digits < safeDigits) {
        value = value * 10 + (*end - '0');
        ++end;
    }
    if (end == digits || *digits == '0' || !endsNumber(*end)) {
        return nullptr;
    }
    integer = negative ? -value : value;
    return end;
}

}  // namespace

JsonCode JsonParser::parse(JsonObject& destination, const std::string& text,
                           std::uint64_t& position)
{
    if (text.size() < 2 || text.front() != '{' || text.back() != '}') {
        position = 0;
        return JsonCode::notAnObject;
    }
    JsonParser parser(text.c_str() + 1);
    JsonObject object;
    JsonCode code = parser.readMembers(object);
    if (code == JsonCode::ok && *parser.cursor != '\0') {
        code = JsonCode::textBehindObject;
    }
    if (code != JsonCode::ok) {
        position = static_cast<std::uint64_t>(parser.cursor - text.c_str());
        return code;
    }
    destination = std::move(object);
    return JsonCode::ok;
}

JsonCode JsonParser::readMembers(JsonObject& destination)
{
    JsonObject members;
    for (skipWhitespace(); !accept('}'); skipWhitespace()) {
        if (!accept('"')) {
            return JsonCode::keyExpected;
        }
        std::string key;
        if (readString(key) != JsonCode::ok) {
            return JsonCode::badKey;
        }
        skipWhitespace();
        if (!accept(':')) {
            return JsonCode::colonExpected;
        }
        skipWhitespace();
        JsonValue value;
        if (const JsonCode code = readValue(value); code != JsonCode::ok) {
            return code;
        }
        skipWhitespace();
        if (!accept(',') && *cursor != '}') {
            return JsonCode::memberSeparatorExpected;
        }
        storeMember(members, std::move(key), std::move(value));
    }
    destination = std::move(members);
    return JsonCode::ok;
}

JsonCode JsonParser::readElements(JsonValue& destination)
{
    JsonArray elements;
    for (skipWhitespace(); !accept(']'); skipWhitespace()) {
        if (const JsonCode code = readValue(elements.emplace_back()); code != JsonCode::ok) {
            return code;
        }
        skipWhitespace();
        if (!accept(',') && *cursor != ']') {
            return JsonCode::elementSeparatorExpected;
        }
    }
    destination.setArray(std::move(elements));
    return JsonCode::ok;
}

JsonCode JsonParser::readValue(JsonValue& destination)
{
    switch (*cursor) {
    case '[':
        ++cursor;
        return readElements(destination);
    case '{': {
        ++cursor;
        JsonObject object;
        const JsonCode code = readMembers(object);
        if (code == JsonCode::ok) {
            destination.setObject(std::move(object));
        }
        return code;
    }
    case '"': {
        ++cursor;
        std::string string;
        const JsonCode code = readString(string);
        if (code == JsonCode::ok) {
            destination.setString(std::move(string));
        }
        return code;
    }
    case 't':
        return readTrue(destination);
    case 'f':
        return readFalse(destination);
    case 'n':
        return readNull(destination);
    default:
        return readNumber(destination);
    }
}

JsonCode JsonParser::readString(std::string& destination)
{
    for (;;) {
        const char* const run = cursor;
        while (isPlain(*cursor)) {
            ++cursor;
        }
        destination.append(run, static_cast<std::size_t>(cursor - run));
        if (accept('"')) {
            return JsonCode::ok;
        }
        if (!accept('\\')) {
            return JsonCode::controlByteInString;
        }
        if (const JsonCode code = readEscape(destination); code != JsonCode::ok) {
            return code;
        }
    }
}

JsonCode JsonParser::readEscape(std::string& destination)
{
    switch (*cursor) {
    case '"':
    case '\\':
        destination += *cursor;
        break;
    case 'b':
        destination += '\b';
        break;
    case 'f':
        destination += '\f';
        break;
    case 'n':
        destination += '\n';
        break;
    case 'r':
        destination += '\r';
        break;
    case 't':
        destination += '\t';
        break;
    default:
        return isControl(*cursor) ? JsonCode::controlByteInString : JsonCode::unknownEscape;
    }
    ++cursor;
    return JsonCode::ok;
}

// What stands behind a word is for the caller to judge: "truex" fails at the "x".
JsonCode JsonParser::readTrue(JsonValue& destination)
{
    if (!acceptWord("true")) {
        return JsonCode::badTrue;
    }
    destination.setBoolean(true);
    return JsonCode::ok;
}

JsonCode JsonParser::readFalse(JsonValue& destination)
{
    if (!acceptWord("false")) {
        return JsonCode::badFalse;
    }
    destination.setBoolean(false);
    return JsonCode::ok;
}

JsonCode JsonParser::readNull(JsonValue& destination)
{
    if (!acceptWord("null")) {
        return JsonCode::badNull;
    }
    destination.reset();
    return JsonCode::ok;
}

// A missing value converts nothing and ends where it begins, on a byte that ends a number: that it
// reads as the integer 0 is intended.
JsonCode JsonParser::readNumber(JsonValue& destination)
{
    std::int64_t integer = 0;
    if (const char* const end = readPlainInteger(cursor, integer); end != nullptr) {
        destination.setInteger(integer);
        cursor = end;
        return JsonCode::ok;
    }
    if (hasNewerPrefix(cursor)) {
        return JsonCode::badNumber;
    }
    char* end = nullptr;
    integer = std::strtoll(cursor, &end, 0);
    if (endsNumber(*end)) {
        destination.setInteger(integer);
        cursor = end;
        return JsonCode::ok;
    }
    const double number = std::strtod(cursor, &end);
    if (endsNumber(*end)) {
        destination.setNumber(number);
        cursor = end;
        return JsonCode::ok;
    }
    return JsonCode::badNumber;
}

void JsonParser::skipWhitespace()
{
    while (isWhitespace(*cursor)) {
        ++cursor;
    }
}

bool JsonParser::accept(char byte)
{
    if (*cursor != byte) {
        return false;
    }
    ++cursor;
    return true;
}

bool JsonParser::acceptWord(std::string_view word)
{
    // strncmp(3) stops at the text's NUL; comparing by length alone could read past it.
    if (std::strncmp(cursor, word.data(), word.size()) != 0) {
        return false;
    }
    cursor += word.size();
    return true;
}
