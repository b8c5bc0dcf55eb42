// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <utility>

#include "json/ByteSet.h"

namespace {

constexpr ByteSet escapedBytes("\b\t\n\f\r\"\\");

/// The letter that stands for an escaped byte after the backslash.
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
    default:
        return byte;
    }
}

/// Builds a text from its beginning to its end.
///
/// The text grows by doubling. To count its length first would save memory for the few documents
/// that are nested so deep that their text is nearly all indentation, and cost the others a pass.
class Builder {
public:
    /// The outermost bracket closes on a line of this level.
    Builder(bool isCompact, std::uint64_t outerLevel)
        : compact(isCompact), level(std::min(outerLevel, highestLevel)),
          separator(isCompact ? ", " : ",\n")
    {
    }

    void append(const JsonValue& value);
    void append(const JsonMember& member);
    void append(std::string_view string);
    void append(std::int64_t integer);
    void append(double real);

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
    static constexpr std::uint64_t highestLevel = std::uint64_t{1} << 62;

    void setLevel(std::uint64_t newLevel);

    const bool compact;
    std::uint64_t level;    ///< of the line that is being written
    std::string separator;  ///< what stands between two items of this level
    std::string text;
};

void Builder::append(std::string_view string)
{
    text += '"';
    std::size_t begin = 0;
    for (std::size_t end = 0; end < string.size(); ++end) {
        if (escapedBytes.contains(string[end])) {
            text += string.substr(begin, end - begin);
            text += '\\';
            text += escapeLetter(string[end]);
            begin = end + 1;
        }
    }
    text += string.substr(begin);
    text += '"';
}

void Builder::append(std::int64_t integer)
{
    std::array<char, 20> digits;  // "-9223372036854775808"
    const char* const end = std::to_chars(digits.begin(), digits.end(), integer).ptr;
    text += std::string_view(digits.data(), end);
}

void Builder::append(double real)
{
    std::array<char, 48> digits;  // sign, point, 34 digits, 4 zeros or a 5-byte exponent
    const char* const end =
        std::to_chars(digits.begin(), digits.end(), real, std::chars_format::general, 34).ptr;
    text += std::string_view(digits.data(), end);
}

void Builder::append(const JsonMember& member)
{
    append(std::string_view(member.name));
    text += ':';
    text += ' ';
    append(member.value);
}

void Builder::append(const JsonValue& value)
{
    switch (value.type()) {
    case JsonType::integer:
        append(value.integer());
        break;
    case JsonType::real:
        append(value.real());
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
    const std::size_t lineBreak = compact ? separator.size() : 1;  // its index in the separator
    text += opening;
    if (!items.empty()) {
        setLevel(level + 1);
        bool first = true;
        for (const auto& item : items) {
            text.append(separator, first ? lineBreak : 0);
            append(item);
            first = false;
        }
        setLevel(level - 1);
        text.append(separator, lineBreak);
    }
    text += closing;
}

void Builder::setLevel(std::uint64_t newLevel)
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
