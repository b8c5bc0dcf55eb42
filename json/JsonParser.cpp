// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonParser.h"

#include <cstddef>
#include <cstring>
#include <iterator>
#include <span>
#include <utility>

#include "json/ByteSet.h"
#include "json/JsonNumber.h"

namespace {

constexpr ByteSet whitespace(" \n\t\r");

/// What ends a string, or has a meaning of its own inside one, or may not be there.
constexpr ByteSet specialInString = [] {
    ByteSet set("\"\\");
    for (char control = 0; control < 32; ++control) {
        set.add(control);
    }
    return set;
}();

// Char may be signed: as it stands, a byte above 127 would compare as less than 32.
bool isControl(char byte)
{
    return static_cast<unsigned char>(byte) < 32;
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
    JsonValue root;
    JsonCode code = parser.readMembers(root);
    if (code == JsonCode::ok && *parser.cursor != '\0') {
        code = JsonCode::trailingText;
    }
    if (code != JsonCode::ok) {
        position = static_cast<std::uint64_t>(parser.cursor - text.c_str());
        return code;
    }
    destination = std::move(root.object());
    return JsonCode::ok;
}

JsonCode JsonParser::readMembers(JsonValue& destination)
{
    const std::size_t outer = members.size();
    for (skipWhitespace(); !accept('}'); skipWhitespace()) {
        if (!accept('"')) {
            return JsonCode::keyExpected;
        }
        JsonMember member;
        if (readString(member.name) != JsonCode::ok) {
            return JsonCode::badKey;
        }
        skipWhitespace();
        if (!accept(':')) {
            return JsonCode::colonExpected;
        }
        skipWhitespace();
        if (const JsonCode code = readValue(member.value); code != JsonCode::ok) {
            return code;
        }
        skipWhitespace();
        if (!accept(',') && *cursor != '}') {
            return JsonCode::memberSeparatorExpected;
        }
        members.push_back(std::move(member));
    }
    destination.setObject(JsonObject::fromMembers(std::span(members).subspan(outer)));
    members.resize(outer);
    return JsonCode::ok;
}

JsonCode JsonParser::readElements(JsonValue& destination)
{
    const std::size_t outer = elements.size();
    for (skipWhitespace(); !accept(']'); skipWhitespace()) {
        JsonValue element;
        if (const JsonCode code = readValue(element); code != JsonCode::ok) {
            return code;
        }
        skipWhitespace();
        if (!accept(',') && *cursor != ']') {
            return JsonCode::elementSeparatorExpected;
        }
        elements.push_back(std::move(element));
    }
    const auto first = elements.begin() + static_cast<std::ptrdiff_t>(outer);
    destination.setArray({std::move_iterator(first), std::move_iterator(elements.end())});
    elements.resize(outer);
    return JsonCode::ok;
}

JsonCode JsonParser::readValue(JsonValue& destination)
{
    switch (*cursor) {
    case '[':
        ++cursor;
        return readElements(destination);
    case '{':
        ++cursor;
        return readMembers(destination);
    case '"': {
        ++cursor;
        std::string string;
        const JsonCode code = readString(string);
        destination.setString(std::move(string));
        return code;
    }
    case 't':
        return readTrue(destination);
    case 'f':
        return readFalse(destination);
    case 'n':
        return readNull(destination);
    default: {
        const char* const end = readNumber(cursor, destination);
        if (end == nullptr) {
            return JsonCode::badNumber;
        }
        cursor = end;
        return JsonCode::ok;
    }
    }
}

JsonCode JsonParser::readString(std::string& destination)
{
    for (;;) {
        const char* const run = cursor;
        while (!specialInString.contains(*cursor)) {
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
    if (!acceptLiteral("true")) {
        return JsonCode::badTrue;
    }
    destination.setBoolean(true);
    return JsonCode::ok;
}

JsonCode JsonParser::readFalse(JsonValue& destination)
{
    if (!acceptLiteral("false")) {
        return JsonCode::badFalse;
    }
    destination.setBoolean(false);
    return JsonCode::ok;
}

JsonCode JsonParser::readNull(JsonValue& destination)
{
    if (!acceptLiteral("null")) {
        return JsonCode::badNull;
    }
    destination.reset();
    return JsonCode::ok;
}

void JsonParser::skipWhitespace()
{
    while (whitespace.contains(*cursor)) {
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

bool JsonParser::acceptLiteral(std::string_view word)
{
    // strncmp(3) stops at the text's NUL; comparing by length alone could read past it.
    if (std::strncmp(cursor, word.data(), word.size()) != 0) {
        return false;
    }
    cursor += word.size();
    return true;
}
