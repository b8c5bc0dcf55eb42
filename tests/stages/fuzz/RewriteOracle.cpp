// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>

#include "app/ConfigUpdate.h"
#include "json/JsonParser.h"
#include "json/JsonWriter.h"
#include "tests/stages/fuzz/Oracles.h"
#include "tests/stages/fuzz/Trees.h"

namespace {

/// The text with spaces for the contents of its strings, so that layout, literals and numbers are
/// left, each in its place.
std::string withoutStrings(std::string text)
{
    bool inside = false;
    for (std::size_t place = 0; place < text.size(); ++place) {
        if (text[place] == '"') {
            inside = !inside;
        } else if (inside) {
            if (text[place] == '\\') {
                text[place++] = ' ';
            }
            text[place] = ' ';
        }
    }
    return text;
}

/// The text as the writer indents it at level 2, from the one of level 0.
std::string indented(const std::string& compact)
{
    const std::string outside = withoutStrings(compact);
    std::string text;
    std::size_t indentation = 2;
    const auto newLine = [&] { text += '\n' + std::string(indentation, ' '); };
    for (std::size_t place = 0; place < compact.size(); ++place) {
        const char byte = outside[place];
        if (outside.compare(place, 2, "{}") == 0 || outside.compare(place, 2, "[]") == 0) {
            text += compact.substr(place++, 2);
        } else if (byte == '{' || byte == '[') {
            text += byte;
            indentation += 2;
            newLine();
        } else if (byte == '}' || byte == ']') {
            indentation -= 2;
            newLine();
            text += byte;
        } else if (byte == ',') {
            text += byte;
            newLine();
            ++place;  // the space after it
        } else {
            text += compact[place];
        }
    }
    return text;
}

/// The position of a "nan" without a sign; npos if there is none.
std::size_t placeOfNan(const std::string& text)
{
    const std::string outside = withoutStrings(text);
    std::size_t place = outside.find("nan");
    while (place != std::string::npos && outside[place - 1] == '-') {
        place = outside.find("nan", place + 1);
    }
    return place;
}

bool hasNan(JsonObject tree)
{
    bool found = false;
    forEachValue(tree, [&found](const JsonValue& value) {
        found = found || (value.type() == JsonType::real && std::isnan(value.real()) &&
                          !std::signbit(value.real()));
    });
    return found;
}

/// The written tree when it is parsed again. A double that is whole and has up to 34 digits is
/// written like an integer, so it becomes one, within the bounds of an integer.
JsonObject afterRoundTrip(JsonObject tree)
{
    constexpr double lastWithoutExponent = 1e34;  // as a double it is a little less than that
    constexpr double firstTooLarge = 0x1p63;
    forEachValue(tree, [](JsonValue& value) {
        if (value.type() != JsonType::real) {
            return;
        }
        const double number = value.real();
        if (!(std::fabs(number) <= lastWithoutExponent) || std::trunc(number) != number) {
            return;
        }
        if (number >= firstTooLarge) {
            value.setInteger(std::numeric_limits<std::int64_t>::max());
        } else if (number < -firstTooLarge) {
            value.setInteger(std::numeric_limits<std::int64_t>::min());
        } else {
            value.setInteger(static_cast<std::int64_t>(number));
        }
    });
    return tree;
}

bool hasOddByte(const std::string& text, std::uint64_t level)
{
    for (const char byte : text) {
        if (static_cast<unsigned char>(byte) < 32 && (byte != '\n' || level == 0)) {
            return true;
        }
    }
    return false;
}

/// Writes the tree, and parses and writes it again.
std::string checkLevel(const JsonObject& tree, std::uint64_t level)
{
    const std::string text = JsonWriter::writeObject(tree, level);
    if (text.front() != '{' || text.back() != '}' || hasOddByte(text, level)) {
        return "the text is not an object, or has a stray control byte";
    }
    if (JsonWriter::writeObject(JsonObject(tree), level) != text) {
        return "a copy of the tree is written differently";
    }
    JsonObject again;
    std::uint64_t position = 0;
    const JsonCode code = JsonParser::parse(again, text, position);
    const std::size_t nan = placeOfNan(text);
    if (hasNan(tree) != (nan != std::string::npos)) {
        return "\"nan\" is written for something else";
    }
    if (nan != std::string::npos) {
        return code == JsonCode::badNull && position == nan ? ""
                                                            : "parsing does not stop at \"nan\"";
    }
    if (code != JsonCode::ok) {
        return "the text cannot be parsed again";
    }
    if (!alike(again, afterRoundTrip(tree))) {
        return "the text is parsed as another tree";
    }
    const std::string second = JsonWriter::writeObject(again, level);
    JsonObject third;
    if (JsonParser::parse(third, second, position) != JsonCode::ok || !alike(third, again) ||
        JsonWriter::writeObject(third, level) != second) {
        return "the text changes in the second round trip";
    }
    return "";
}

}  // namespace

std::string checkRewrite(const std::string& bytes)
{
    // An indented text grows with the square of the depth: to some 100 MB at 6,000 levels.
    constexpr std::size_t deepestIndented = 500;
    std::string trimmed = bytes;
    trimText(trimmed);
    JsonObject tree;
    std::uint64_t position = 0;
    if (JsonParser::parse(tree, trimmed, position) != JsonCode::ok) {
        return "";
    }
    if (std::string fault = checkLevel(tree, 0); !fault.empty()) {
        return "level 0: " + fault;
    }
    if (depthOf(tree) > deepestIndented) {
        return "";
    }
    if (std::string fault = checkLevel(tree, 2); !fault.empty()) {
        return "level 2: " + fault;
    }
    return indented(JsonWriter::writeObject(tree, 0)) == JsonWriter::writeObject(tree, 2)
               ? ""
               : "the levels differ in more than layout, or the layout is wrong";
}
