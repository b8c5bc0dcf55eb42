// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonWriter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "json/ByteSet.h"
#include "json/JsonEscape.h"
#include "json/JsonNumber.h"

namespace {

constexpr ByteSet bytesToEscape(escapedBytes);

/// Builds a text from its beginning to its end.
///
/// The text grows by doubling. To count its length first would save memory for the few documents
/// that are nested so deep that their text is nearly all indentation, and cost the others a pass.
class Builder {
public:
    /// The outermost bracket closes on a line of this level.
    Builder(bool isCompact, std::uint64_t outerLevel)
        : compact(isCompact),
          level(static_cast<std::size_t>(std::min<std::uint64_t>(outerLevel, highestLevel))),
          separator(isCompact ? ", " : ",\n")
    {
    }

    void reserve(std::size_t size) { text.reserve(size); }

    void append(const JsonValue& value);
    void append(const JsonMember& member);
    void append(std::string_view string);

    /// The members of an object or the elements of an array, in brackets.
    template <typename Items>
    void append(char opening, const Items& items, char closing);

    /// The indentation of the line that is being written.
    void appendIndentation() { text.append(2 * level, ' '); }

    /// The text, which is moved out.
    [[nodiscard]] std::string release() { return std::move(text); }

private:
    /// Twice as many spaces are more than a string can hold, and the string says so. Clamped to
    /// this, a level does not wrap.
    static constexpr std::size_t highestLevel = SIZE_MAX / 4 + 1;

    void setLevel(std::size_t newLevel);

    /// The separator without its comma.
    [[nodiscard]] std::string_view lineBreak() const
    {
        return std::string_view(separator).substr(compact ? separator.size() : 1);
    }

    const bool compact;
    std::size_t level;      ///< of the line that is being written
    std::string separator;  ///< what stands between two items of this level
    std::string text;
};

void Builder::append(std::string_view string)
{
    text += '"';
    const auto isToEscape = [](char byte) { return bytesToEscape.contains(byte); };
    const char* begin = string.data();
    const char* const stringEnd = begin + string.size();
    for (;;) {
        const char* const end = std::find_if(begin, stringEnd, isToEscape);
        text += std::string_view(begin, end);
        if (end == stringEnd) {
            break;
        }
        text += '\\';
        text += escapeLetters[escapedBytes.find(*end)];
        begin = end + 1;
    }
    text += '"';
}

void Builder::append(const JsonMember& member)
{
    append(std::string_view(member.name));
    text += ": ";
    append(member.value);
}

void Builder::append(const JsonValue& value)
{
    switch (value.type()) {
    case JsonType::integer:
        appendNumber(value.integer(), text);
        break;
    case JsonType::real:
        appendNumber(value.real(), text);
        break;
    case JsonType::boolean:
        text += value.boolean() ? "true" : "false";
        break;
    case JsonType::string:
        append(std::string_view(value.string()));
        break;
    case JsonType::object:
        append('{', value.object(), '}');
        break;
    case JsonType::array:
        append('[', value.array(), ']');
        break;
    default:
        text += "null";
        break;
    }
}

template <typename Items>
void Builder::append(char opening, const Items& items, char closing)
{
    text += opening;
    if (!items.empty()) {
        setLevel(level + 1);
        std::string_view before = lineBreak();
        for (const auto& item : items) {
            text += before;
            append(item);
            before = separator;
        }
        setLevel(level - 1);
        text += lineBreak();
    }
    text += closing;
}

void Builder::setLevel(std::size_t newLevel)
{
    level = newLevel;
    if (!compact) {
        separator.resize(2 + 2 * level, ' ');
    }
}

}  // namespace

std::string JsonWriter::writeValue(const JsonValue& value, std::uint64_t level)
{
    Builder builder(level == 0, level);
    builder.append(value);
    return builder.release();
}

std::string JsonWriter::writeObject(const JsonObject& object, std::uint64_t level)
{
    Builder builder(level == 0, level - 1);
    builder.reserve(7'680);  // most need no more; 15 bytes, doubled 9 times
    builder.append('{', object, '}');
    return builder.release();
}

std::string JsonWriter::writeMember(const JsonMember& member, std::uint64_t level)
{
    Builder builder(level == 0, level);
    builder.appendIndentation();
    builder.append(member);
    return builder.release();
}

std::string JsonWriter::writeString(const std::string& string)
{
    Builder builder(true, 0);
    builder.append(std::string_view(string));
    return builder.release();
}
