// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

#include "json/JsonParser.h"
#include "json/JsonWriter.h"
#include "tests/dialect/Description.h"
#include "tests/stages/fuzz/Oracles.h"

namespace {

constexpr std::uint64_t positionBefore = std::numeric_limits<std::uint64_t>::max();

constexpr std::size_t codes = 42;  // down to the lowest, for an element without a separator

// libFuzzer keeps an input for each of these counters: one for each pair of a code and the byte at
// the position, so that the corpus has them all.
[[gnu::section("__libfuzzer_extra_counters")]] std::uint8_t pairs[codes][256];

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

std::string checkAccepted(const std::string& text, const Reading& whole)
{
    if (whole.position != positionBefore) {
        return "the position was written on success";
    }
    return describe(whole.tree) == describe(read(text).tree)
               ? ""
               : "the destination's earlier members are still there";
}

std::string checkRefused(const std::string& text, const Reading& whole, const JsonObject& before)
{
    const auto code = static_cast<std::size_t>(-static_cast<std::int32_t>(whole.code));
    if (code >= codes) {
        return "there is no such code";
    }
    if (describe(whole.tree) != describe(before)) {
        return "the destination was changed on failure";
    }
    const auto position = static_cast<std::size_t>(whole.position);
    if (position > std::min(text.find('\0'), text.size())) {
        return "the position is past the end or after a NUL byte";
    }
    pairs[code][static_cast<unsigned char>(text.c_str()[position])] = 1;
    // Whether it is a number depends on the bytes after the first one, and at the end there is no
    // byte to keep.
    if (position == 0 || position == text.size() || whole.code == JsonCode::badNumber) {
        return "";
    }
    const Reading cut = read(text.substr(0, position + 1) + "}");
    return cut.code == whole.code && cut.position == position
               ? ""
               : "the failure depends on what follows its byte";
}

/// The text with spaces after its first brace is the same document, so many bytes longer. They make
/// it too long for the buffer inside a std::string: it lies alone in an allocation that ends with
/// its NUL, and a sanitizer notices a read past that.
std::string checkWithSpaces(const std::string& text, const Reading& whole)
{
    const std::string spaces(16, ' ');
    const Reading spaced = read("{" + spaces + text.substr(1));
    const bool isMoved = whole.code != JsonCode::ok && whole.position > 0;
    return spaced.code == whole.code &&
                   spaced.position == whole.position + (isMoved ? spaces.size() : 0) &&
                   (whole.code != JsonCode::ok || describe(spaced.tree) == describe(whole.tree))
               ? ""
               : "spaces after the first brace change more than the position";
}

/// The text deep in another document is parsed as it is alone.
std::string checkInside(const std::string& text, const Reading& whole)
{
    const std::string before = R"({"i":[1,{}],"j":{"k":[[],{"a":1}, )";
    const std::string after = ",2]}}";
    const Reading outer = read(before + text + after);
    if (whole.code != JsonCode::ok) {
        return outer.code == whole.code && outer.position == before.size() + whole.position
                   ? ""
                   : "inside another document the text does not fail the same way";
    }
    const std::string place = "str 5:place";
    std::string expected = describe(read(before + "\"place\"" + after).tree);
    expected.replace(expected.find(place), place.size(), "obj " + describe(whole.tree));
    return describe(outer.tree) == expected
               ? ""
               : "inside another document the text is not the same object";
}

/// Writes the tree, parses that and writes it again. From then on nothing changes. Gives the
/// description of the tree that the text is parsed as, or an empty one if it has a NaN.
std::string checkRoundTrip(const JsonObject& tree, std::uint64_t level, std::string& description)
{
    const std::string text = JsonWriter::writeObject(tree, level);
    if (JsonWriter::writeObject(JsonObject(tree), level) != text) {
        return "a copy of the tree is written differently";
    }
    const Reading again = read(text);
    if (again.code == JsonCode::badNull &&
        text.compare(static_cast<std::size_t>(again.position), 3, "nan") == 0) {
        return "";
    }
    if (again.code != JsonCode::ok) {
        return "what was written cannot be parsed";
    }
    description = describe(again.tree);
    const std::string second = JsonWriter::writeObject(again.tree, level);
    const Reading third = read(second);
    return third.code == JsonCode::ok && describe(third.tree) == description &&
                   JsonWriter::writeObject(third.tree, level) == second
               ? ""
               : "the text changes in the second round trip";
}

/// How deep the brackets in a text are nested.
int depthOf(const std::string& text)
{
    int depth = 0;
    int deepest = 0;
    for (const char byte : text) {
        depth += byte == '(' ? 1 : byte == ')' ? -1 : 0;
        deepest = std::max(deepest, depth);
    }
    return deepest;
}

std::string checkRoundTrips(const JsonObject& tree)
{
    // An indented text grows with the square of the depth: to some 100 MB at 6,000 levels.
    constexpr int deepestIndented = 500;
    std::string compact;
    if (std::string fault = checkRoundTrip(tree, 0, compact); !fault.empty()) {
        return "level 0: " + fault;
    }
    if (depthOf(describe(tree)) > deepestIndented) {
        return "";
    }
    std::string indented;
    if (std::string fault = checkRoundTrip(tree, 2, indented); !fault.empty()) {
        return "level 2: " + fault;
    }
    return compact == indented ? "" : "the levels are parsed as different trees";
}

}  // namespace

std::string checkDocument(const std::string& bytes)
{
    JsonObject before;
    before["kept on failure"];
    const Reading whole = read(bytes, before);
    const bool accepted = whole.code == JsonCode::ok;
    std::string fault = accepted ? checkAccepted(bytes, whole) : checkRefused(bytes, whole, before);
    if (fault.empty() && bytes.starts_with('{')) {
        fault = checkWithSpaces(bytes, whole);
    }
    // A failure at the end of the text, or at an end that came too early, has no counterpart inside
    // another document.
    if (fault.empty() && bytes.size() >= 2 && bytes.starts_with('{') && bytes.ends_with('}') &&
        bytes.find('\0') == std::string::npos && whole.code != JsonCode::trailingText &&
        (accepted || whole.position < bytes.size())) {
        fault = checkInside(bytes, whole);
    }
    return fault.empty() && accepted ? checkRoundTrips(whole.tree) : fault;
}
