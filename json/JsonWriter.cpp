// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonWriter.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <utility>

#include "json/ByteSet.h"

namespace {

constexpr std::size_t longestInteger = 20;  // "-9223372036854775808"
constexpr std::size_t longestNumber = 48;   // sign, point, 34 digits, 4 zeros or a 5-byte exponent

/// Most lines are indented by less; to write a fixed number costs less than the number itself.
constexpr std::size_t blanksAtOnce = 16;

/// A text that grows at its end, so that no piece of it is copied on the way up.
class Text {
public:
    /// An empty text. One that becomes no longer than expected is never moved.
    explicit Text(std::size_t expectedLength) : bytes(expectedLength, '\0') {}

    /// The place behind the text, with room for so many bytes. What the caller writes there becomes
    /// a part of the text by endAt.
    [[nodiscard]] char* roomFor(std::size_t count)
    {
        if (bytes.size() - length < count) [[unlikely]] {
            grow(count);
        }
        return bytes.data() + length;
    }

    void endAt(const char* end) { length = static_cast<std::size_t>(end - bytes.data()); }

    void append(char byte)
    {
        *roomFor(1) = byte;
        ++length;
    }

    template <std::size_t size>
    void append(const char (&word)[size])
    {
        endAt(std::copy_n(word, size - 1, roomFor(size - 1)));
    }

    /// The text, which is taken away.
    [[nodiscard]] std::string take()
    {
        bytes.resize(length);
        return std::move(bytes);
    }

private:
    void grow(std::size_t count) { bytes.resize(2 * (length + count)); }

    std::string bytes;  // the text, and behind it room that has not been used yet
    std::size_t length = 0;
};

void appendValue(Text& text, const JsonValue& value, std::uint64_t level);

/// A new line with its indentation.
void breakLine(Text& text, std::uint64_t level)
{
    char* const room = text.roomFor(1 + blanksAtOnce + 2 * level);
    *room = '\n';
    std::fill_n(room + 1, blanksAtOnce, ' ');
    if (2 * level > blanksAtOnce) {
        std::fill_n(room + 1 + blanksAtOnce, 2 * level - blanksAtOnce, ' ');
    }
    text.endAt(room + 1 + 2 * level);
}

/// What stands before a member or element of a list: behind the bracket, or behind another one.
void separate(Text& text, bool first, std::uint64_t level)
{
    if (!first) {
        text.append(',');
    }
    if (level != 0) {
        breakLine(text, level);
    } else if (!first) {
        text.append(' ');
    }
}

void appendInteger(Text& text, std::int64_t integer)
{
    char* const room = text.roomFor(longestInteger);
    text.endAt(std::to_chars(room, room + longestInteger, integer).ptr);
}

void appendNumber(Text& text, double number)
{
    char* const room = text.roomFor(longestNumber);
    text.endAt(
        std::to_chars(room, room + longestNumber, number, std::chars_format::general, 34).ptr);
}

constexpr ByteSet escapedBytes("\b\t\n\f\r\"\\");

/// The letter that stands for an escaped byte behind the backslash.
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

void appendString(Text& text, std::string_view string)
{
    char* end = text.roomFor(2 * string.size() + 2);
    *end++ = '"';
    for (const char byte : string) {
        if (escapedBytes.contains(byte)) [[unlikely]] {
            *end++ = '\\';
            *end++ = escapeLetter(byte);
        } else {
            *end++ = byte;
        }
    }
    *end++ = '"';
    text.endAt(end);
}

void appendMember(Text& text, const JsonMember& member, std::uint64_t level)
{
    appendString(text, member.name);
    text.append(": ");
    appendValue(text, member.value, level);
}

void appendObject(Text& text, const JsonObject& object, std::uint64_t level)
{
    bool first = true;
    text.append('{');
    for (const JsonMember& member : object) {
        separate(text, first, level);
        appendMember(text, member, level);
        first = false;
    }
    if (!first && level != 0) {
        breakLine(text, level - 1);
    }
    text.append('}');
}

void appendArray(Text& text, const JsonArray& array, std::uint64_t level)
{
    const std::uint64_t inner = level == 0 ? 0 : level + 1;
    bool first = true;
    text.append('[');
    for (const JsonValue& element : array) {
        separate(text, first, inner);
        appendValue(text, element, inner);
        first = false;
    }
    if (!first && level != 0) {
        breakLine(text, level);
    }
    text.append(']');
}

void appendValue(Text& text, const JsonValue& value, std::uint64_t level)
{
    switch (value.type()) {
    case JsonType::integer:
        appendInteger(text, value.integer());
        break;
    case JsonType::real:
        appendNumber(text, value.real());
        break;
    case JsonType::boolean:
        if (value.boolean()) {
            text.append("true");
        } else {
            text.append("false");
        }
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
        text.append("null");
        break;
    }
}

std::size_t expectedLength(const JsonObject& object, std::uint64_t level);
std::size_t expectedLength(const JsonArray& array, std::uint64_t level);

/// The length of a value's text or a little more, as long as few bytes are escaped. Deep down a
/// text is nearly all indentation, and to let it grow there would cost three times its memory.
std::size_t expectedLength(const JsonValue& value, std::uint64_t level)
{
    switch (value.type()) {
    case JsonType::string:
        return value.string().size() + 2;
    case JsonType::object:
        return expectedLength(value.object(), level + 1);
    case JsonType::array:
        return expectedLength(value.array(), level + 1);
    default:
        return 8;  // more than most of them take
    }
}

std::size_t expectedLength(const JsonObject& object, std::uint64_t level)
{
    const std::size_t lineBreak = 1 + 2 * level;
    std::size_t length = 2 + lineBreak + object.size() * (lineBreak + 5);
    for (const JsonMember& member : object) {
        length += member.name.size() + expectedLength(member.value, level);
    }
    return length;
}

std::size_t expectedLength(const JsonArray& array, std::uint64_t level)
{
    const std::size_t lineBreak = 1 + 2 * level;
    std::size_t length = 2 + lineBreak + array.size() * (lineBreak + 1);
    for (const JsonValue& element : array) {
        length += expectedLength(element, level);
    }
    return length;
}

}  // namespace

std::string JsonWriter::writeValue(const JsonValue& value, std::uint64_t level)
{
    Text text(0);
    appendValue(text, value, level);
    return text.take();
}

std::string JsonWriter::writeObject(const JsonObject& object, std::uint64_t level)
{
    Text text(expectedLength(object, level));
    appendObject(text, object, level);
    return text.take();
}

std::string JsonWriter::writeMember(const JsonMember& member, std::uint64_t level)
{
    Text text(2 * level);
    text.endAt(std::fill_n(text.roomFor(2 * level), 2 * level, ' '));
    appendMember(text, member, level);
    return text.take();
}

std::string JsonWriter::writeString(const std::string& string)
{
    Text text(0);
    appendString(text, string);
    return text.take();
}
