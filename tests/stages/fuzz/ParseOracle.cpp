// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>

#include "json/JsonParser.h"
#include "tests/stages/fuzz/Oracles.h"
#include "tests/stages/fuzz/Trees.h"

namespace {

constexpr std::uint64_t positionBefore = std::numeric_limits<std::uint64_t>::max();
constexpr std::string_view whitespace = " \t\n\r";
constexpr std::string_view escapeLetters = "\"\\bfnrt";

struct Reading {
    JsonCode code = JsonCode::ok;
    std::uint64_t position = positionBefore;
    JsonObject tree;
};

Reading read(const std::string& text, const JsonObject& before = {})
{
    Reading reading;
    reading.tree = before;
    reading.code = JsonParser::parse(reading.tree, text, reading.position);
    return reading;
}

bool isOneOf(std::string_view set, char byte)
{
    return set.find(byte) != std::string_view::npos;
}

bool isControl(char byte)
{
    return static_cast<unsigned char>(byte) < 32;
}

/// Whether a string with these bytes can come from a text.
bool isReadable(const std::string& string)
{
    return std::none_of(string.begin(), string.end(),
                        [](char byte) { return isControl(byte) && !isOneOf("\b\f\n\r\t", byte); });
}

/// Whether the text has the first letter of the literal here, but not the rest.
bool isMisspelt(std::string_view literal, const std::string& text, std::size_t place)
{
    return text[place] == literal.front() && text.compare(place, literal.size(), literal) != 0;
}

/// Whether the byte at the position, or the end of the text, can make a parser fail with the code.
bool fits(JsonCode code, const std::string& text, std::size_t position)
{
    const char byte = text.c_str()[position];
    const char before = position == 0 ? '\0' : text[position - 1];
    const bool isEscaped = before == '\\' && !isControl(byte) && !isOneOf(escapeLetters, byte);
    switch (code) {
    case JsonCode::keyExpected:
        if (position == 0) {
            return text.size() < 2 || text.front() != '{' || text.back() != '}';
        }
        return !isOneOf(whitespace, byte) && byte != '"' && byte != '}';
    case JsonCode::trailingText:
        return before == '}' && byte != '\0';
    case JsonCode::badKey:
        return isControl(byte) || isEscaped;
    case JsonCode::colonExpected:
        return !isOneOf(whitespace, byte) && byte != ':';
    case JsonCode::memberSeparatorExpected:
        return !isOneOf(whitespace, byte) && byte != ',' && byte != '}';
    case JsonCode::badTrue:
        return isMisspelt("true", text, position);
    case JsonCode::badFalse:
        return isMisspelt("false", text, position);
    case JsonCode::badNull:
        return isMisspelt("null", text, position);
    case JsonCode::controlByteInString:
        return isControl(byte);
    case JsonCode::unknownEscape:
        return isEscaped;
    case JsonCode::badNumber:
        return !isOneOf(whitespace, byte) && !isOneOf("[{\"tfn,]}", byte);
    case JsonCode::elementSeparatorExpected:
        return !isOneOf(whitespace, byte) && byte != ',' && byte != ']';
    default:
        return false;  // there is no such code
    }
}

/// Whether the text has a control byte outside its strings other than whitespace. Form feed and
/// vertical tab may precede a number.
bool hasOddGap(std::string_view text)
{
    bool inside = false;
    for (std::size_t place = 0; place < text.size(); ++place) {
        const char byte = text[place];
        if (inside) {
            place += byte == '\\' ? 1 : 0;
            inside = byte != '"';
        } else if (byte == '"') {
            inside = true;
        } else if (isControl(byte) && !isOneOf(whitespace, byte)) {
            const std::size_t next = text.find_first_not_of(" \t\n\r\f\v", place);
            if (!isOneOf("\f\v", byte) || isOneOf("\"{}[],:", text[next])) {
                return true;
            }
        }
    }
    return false;
}

std::string checkAccepted(const std::string& text, const Reading& whole)
{
    if (whole.position != positionBefore) {
        return "the position was written on success";
    }
    // A NUL byte ends the text early.
    const std::string_view looked = text.c_str();
    if (looked.empty() || looked.front() != '{' || looked.back() != '}') {
        return "a text was accepted that is not an object";
    }
    if (hasOddGap(looked)) {
        return "a byte was skipped that is not whitespace";
    }
    std::string fault;
    JsonValue root;
    root.setObject(whole.tree);
    forEachValue(root, [&fault](const JsonValue& value) {
        if (value.type() > JsonType::array) {
            fault = "a value of a type that no text has";
        } else if (value.type() == JsonType::string && !isReadable(value.string())) {
            fault = "a string has a control byte";
        } else if (value.type() == JsonType::object) {
            const JsonMember* before = nullptr;
            for (const JsonMember& member : value.object()) {
                if (!isReadable(member.name) ||
                    (before != nullptr && before->name >= member.name)) {
                    fault = "a key is out of order or has a control byte";
                }
                before = &member;
            }
        }
    });
    return fault;
}

std::string checkRefused(const std::string& text, const Reading& whole)
{
    if (whole.position > text.size()) {
        return "the position is past the end";
    }
    const std::size_t position = whole.position;
    if (text.find('\0') < position) {
        return "the position is after a NUL byte";
    }
    if (!fits(whole.code, text, position)) {
        return "the byte at the position does not fit the code";
    }
    // Whether it is a number depends on the bytes after the first one, and at the end there is no
    // byte to keep.
    if (position == 0 || position == text.size() || whole.code == JsonCode::badNumber) {
        return "";
    }
    const Reading cut = read(text.substr(0, position + 1) + "}");
    if (cut.code != whole.code || cut.position != position) {
        return "the failure depends on what follows its byte";
    }
    return "";
}

/// The text with a space after its first brace is the same document, one byte longer.
std::string checkWithSpace(const std::string& text, const Reading& whole)
{
    const Reading spaced = read("{ " + text.substr(1));
    if (spaced.code != whole.code) {
        return "a space after the first brace changes the code";
    }
    if (whole.code == JsonCode::ok) {
        return alike(spaced.tree, whole.tree) ? ""
                                              : "a space after the first brace adds to the tree";
    }
    return spaced.position == (whole.position == 0 ? 0 : whole.position + 1)
               ? ""
               : "a space after the first brace moves the position wrongly";
}

/// The text as a value in another document is parsed as it is alone.
std::string checkInside(const std::string& text, const Reading& whole)
{
    const std::string before = "{\"outer\":";
    const Reading outer = read(before + text + "}");
    if (whole.code == JsonCode::ok) {
        if (outer.code != JsonCode::ok || outer.tree.size() != 1 ||
            outer.tree.begin()->value.type() != JsonType::object ||
            !alike(outer.tree.begin()->value.object(), whole.tree)) {
            return "inside another document the text is not the same object";
        }
        return "";
    }
    return outer.code == whole.code && outer.position == before.size() + whole.position
               ? ""
               : "inside another document the text does not fail the same way";
}

}  // namespace

std::string checkParse(const std::string& bytes)
{
    JsonObject before;
    before["kept on failure"].name = "kept on failure";
    const Reading whole = read(bytes, before);
    const bool accepted = whole.code == JsonCode::ok;
    if (!alike(whole.tree, accepted ? read(bytes).tree : before)) {
        return accepted ? "the destination's earlier members are still there"
                        : "the destination was changed on failure";
    }
    std::string fault = accepted ? checkAccepted(bytes, whole) : checkRefused(bytes, whole);
    if (fault.empty() && bytes.starts_with('{')) {
        fault = checkWithSpace(bytes, whole);
    }
    // A failure at the end of the text, or at an end that came too early, has no counterpart inside
    // another document.
    if (fault.empty() && bytes.size() >= 2 && bytes.starts_with('{') && bytes.ends_with('}') &&
        bytes.find('\0') == std::string::npos && whole.code != JsonCode::trailingText &&
        (accepted || whole.position < bytes.size())) {
        fault = checkInside(bytes, whole);
    }
    return fault;
}
