// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "json/JsonValue.h"

/// Why a text was refused. The numbers are fixed: users see them in messages.
enum class JsonCode : std::int32_t {
    ok = 0,
    notAnObject = -1,              ///< the text does not begin with "{" and end with "}"
    keyExpected = -1,              ///< a member that does not begin with a double quote
    trailingText = -2,             ///< the object of the text is closed and more text follows
    badKey = -3,                   ///< a key with a fault that a string value reports as -21 or -22
    colonExpected = -4,            ///< a key without ":" behind it
    memberSeparatorExpected = -5,  ///< a member's value without "," or "}" behind it
    badTrue = -10,                 ///< begins with "t" and is not "true"
    badFalse = -11,                ///< begins with "f" and is not "false"
    badNull = -20,                 ///< begins with "n" and is not "null"
    controlByteInString = -21,     ///< a byte below 32, or the end of the text, inside a string
    unknownEscape = -22,           ///< a backslash before a byte that makes no escape with it
    badNumber = -30,               ///< a value of no other kind, and no number either
    elementSeparatorExpected = -41  ///< an element without "," or "]" behind it
};

/// Reads a text of a narrow dialect of JSON into a tree.
///
/// It differs from RFC 8259 in what it takes: a comma before a closing bracket; a missing value,
/// which reads as the integer 0; every number that strtoll(3) in base 0 or strtod(3) reads whole
/// (hexadecimal, octal, a plus sign, infinity); any byte from 32 up in a string. And in what it
/// refuses: "\/" and "\u" escapes, and any text that is not an object from its first byte to its
/// last. A key that occurs twice in an object keeps its last value.
///
/// Each reading function begins with the cursor on the first byte that it has not read (behind the
/// opening quote or bracket, where there is one). It ends with the cursor behind what it read, or,
/// on failure, on the byte that made it fail. The text's terminating NUL fits no rule: the cursor
/// never moves past it, and a NUL byte inside the text is taken for it.
class JsonParser {
public:
    /// Reads the text. On success the destination holds exactly the members of the text, and the
    /// position is left as it was. On failure the destination is left as it was, and the position
    /// is the offset in bytes, from 0, of the byte that the code speaks of.
    ///
    /// It recurses as deep as the text is nested, with no limit of its own.
    [[nodiscard]] static JsonCode parse(JsonObject& destination, const std::string& text,
                                        std::uint64_t& position);

private:
    explicit JsonParser(const char* text) : cursor(text)
    {
        members.reserve(initialCapacity);
        elements.reserve(initialCapacity);
    }

    // What a function has left in its destination when it fails, its caller discards.
    JsonCode readMembers(JsonValue& destination);
    JsonCode readElements(JsonValue& destination);
    JsonCode readValue(JsonValue& destination);
    JsonCode readString(std::string& destination);
    JsonCode readEscape(std::string& destination);
    JsonCode readTrue(JsonValue& destination);
    JsonCode readFalse(JsonValue& destination);
    JsonCode readNull(JsonValue& destination);

    void skipWhitespace();
    [[nodiscard]] bool accept(char byte);
    [[nodiscard]] bool acceptLiteral(std::string_view word);

    /// As much as most documents need, so that the two vectors do not have to grow.
    static constexpr std::size_t initialCapacity = 64;

    const char* cursor;

    /// What has been read of the objects and arrays that are still open, the outer ones first. A
    /// closing bracket takes away what belongs to its own.
    std::vector<JsonMember> members;
    std::vector<JsonValue> elements;
};
