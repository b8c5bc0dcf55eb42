// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonParser.h"

#include <cstddef>
#include <cstring>
#include <span>
#include <utility>

#include "json/ByteSet.h"
#include "json/JsonEscape.h"
#include "json/JsonNumber.h"

namespace {

constexpr ByteSet whitespace(" \n\t\r");

/// The bytes inside a string that are not copied as they are.
constexpr ByteSet specialInString = [] {
    ByteSet set("\"\\");
    for (char control = 0; control < 32; ++control) {
        set.add(control);
    }
    return set;
}();

}  // namespace

JsonCode JsonParser::parse(JsonObject& destination, const std::string& text,
                           std::uint64_t& position)
{
    if (!text.starts_with('{') || !text.ends_with('}')) {
        position = 0;
        return JsonCode::notAnObject;
    }
    JsonParser parser(text.c_str() + 1);
    JsonCode code = parser.readMembers();
    if (code == JsonCode::ok && *parser.cursor != '\0') {
        code = JsonCode::trailingText;
    }
    if (code != JsonCode::ok) {
        position = static_cast<std::uint64_t>(parser.cursor - text.c_str());
        return code;
    }
    destination = std::move(parser.value().object());
    return JsonCode::ok;
}

JsonCode JsonParser::readMembers()
{
    const std::size_t first = pending.size();
    for (skipWhitespace(); !accept('}'); skipWhitespace()) {
        if (!accept('"')) {
            return JsonCode::keyExpected;
        }
        if (readString(pending.emplace_back().name) != JsonCode::ok) {
            return JsonCode::badKey;
        }
        skipWhitespace();
        if (!accept(':')) {
            return JsonCode::colonExpected;
        }
        skipWhitespace();
        if (const JsonCode code = readValue(); code != JsonCode::ok) {
            return code;
        }
        skipWhitespace();
        if (!accept(',') && *cursor != '}') {
            return JsonCode::memberSeparatorExpected;
        }
    }
    endObject(first);
    return JsonCode::ok;
}

JsonCode JsonParser::readElements()
{
    const std::size_t first = pending.size();
    for (skipWhitespace(); !accept(']'); skipWhitespace()) {
        pending.emplace_back();
        if (const JsonCode code = readValue(); code != JsonCode::ok) {
            return code;
        }
        skipWhitespace();
        if (!accept(',') && *cursor != ']') {
            return JsonCode::elementSeparatorExpected;
        }
    }
    endArray(first);
    return JsonCode::ok;
}

void JsonParser::endObject(std::size_t first)
{
    JsonValue& container = pending[first - 1].value;
    container.setObject(JsonObject::fromMembers(std::span(pending).subspan(first)));
    pending.erase(pending.begin() + static_cast<std::ptrdiff_t>(first), pending.end());
}

void JsonParser::endArray(std::size_t first)
{
    JsonArray array;
    array.reserve(pending.size() - first);
    for (JsonMember& element : std::span(pending).subspan(first)) {
        array.push_back(std::move(element.value));
    }
    pending[first - 1].value.setArray(std::move(array));
    pending.erase(pending.begin() + static_cast<std::ptrdiff_t>(first), pending.end());
}

JsonCode JsonParser::readValue()
{
    switch (*cursor) {
    case '[':
        ++cursor;
        return readElements();
    case '{':
        ++cursor;
        return readMembers();
    case '"':
        ++cursor;
        return readString(value().setString());
    case 't':
        value().setBoolean(true);
        return acceptLiteral("true") ? JsonCode::ok : JsonCode::badTrue;
    case 'f':
        value().setBoolean(false);
        return acceptLiteral("false") ? JsonCode::ok : JsonCode::badFalse;
    case 'n':
        return acceptLiteral("null") ? JsonCode::ok : JsonCode::badNull;
    default: {
        const char* const end = readNumber(cursor, value());
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
        const char* end = cursor;
        while (!specialInString.contains(*end)) {
            ++end;
        }
        destination += std::string_view(cursor, end);
        cursor = end;
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
    const std::size_t index = escapeLetters.find(*cursor);
    if (index == std::string_view::npos) {
        // Char may be signed: as it stands, a byte above 127 would compare as less than 32.
        const bool isControl = static_cast<unsigned char>(*cursor) < 32;
        return isControl ? JsonCode::controlByteInString : JsonCode::unknownEscape;
    }
    destination += escapedBytes[index];
    ++cursor;
    return JsonCode::ok;
}

void JsonParser::skipWhitespace()
{
    // A char may be a byte of the member: advancing that would store it for each.
    const char* end = cursor;
    while (whitespace.contains(*end)) {
        ++end;
    }
    cursor = end;
}

bool JsonParser::accept(char byte)
{
    if (*cursor != byte) {
        return false;
    }
    ++cursor;
    return true;
}

bool JsonParser::acceptLiteral(std::string_view literal)
{
    // strncmp(3) stops at the text's NUL; comparing by length alone could read past it.
    if (std::strncmp(cursor, literal.data(), literal.size()) != 0) {
        return false;
    }
    cursor += literal.size();
    return true;
}
