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
    trailingText = -2,             ///< more text follows the closed object
    badKey = -3,                   ///< a key with a fault that a string value reports as -21 or -22
    colonExpected = -4,            ///< a key that no ":" follows
    memberSeparatorExpected = -5,  ///< a member's value that neither "," nor "}" follows
    badTrue = -10,                 ///< begins with "t" and is not "true"
    badFalse = -11,                ///< begins with "f" and is not "false"
    badNull = -20,                 ///< begins with "n" and is not "null"
    controlByteInString = -21,     ///< a byte below 32, or the end of the text, inside a string
    unknownEscape = -22,           ///< a backslash and a byte that is no escape letter
    badNumber = -30,               ///< a value of no other kind, and no number either
    elementSeparatorExpected = -41  ///< an element that neither "," nor "]" follows
};

/// Reads a text of a narrow dialect of JSON into a tree.
///
/// It differs from RFC 8259 in what it takes: a comma before a closing bracket; a missing value,
/// which reads as the integer 0; every number that strtoll(3) in base 0 or strtod(3) reads whole
/// (hexadecimal, octal, a plus sign, infinity); any byte from 32 up in a string. And in what it
/// refuses: "\/" and "\u" escapes, and any text that is not an object from its first byte to its
/// last. A key that occurs twice in an object keeps its last value.
///
/// A reading function begins with the cursor after the opening quote or bracket, if there is one.
/// It ends with the cursor after what it read or, on failure, on the byte that made it fail. The
/// text's terminating NUL fits no rule: the cursor never moves past it, and a NUL byte inside the
/// text is taken for it.
class JsonParser {
public:
    /// Reads the text. On success the destination holds exactly the members of the text, and the
    /// position is unchanged. On failure the destination is unchanged, and the position is the
    /// offset in bytes, from 0, of the byte that the code is about.
    ///
    /// Recurses as deep as the text is nested, with no limit of its own.
    [[nodiscard]] static JsonCode parse(JsonObject& destination, const std::string& text,
                                        std::uint64_t& position);

private:
    explicit JsonParser(const char* text) : cursor(text)
    {
        pending.reserve(initialCapacity);
        pending.emplace_back();
    }

    JsonCode readMembers();
    JsonCode readElements();
    JsonCode readValue();
    JsonCode readString(std::string& destination);
    JsonCode readEscape(std::string& destination);

    /// Make an object or an array of what is pending from this index on, and of what precedes that
    /// a value of it. Not a part of the recursion, whose frames they would enlarge.
    void endObject(std::size_t first);
    void endArray(std::size_t first);

    void skipWhitespace();
    [[nodiscard]] bool accept(char byte);
    [[nodiscard]] bool acceptLiteral(std::string_view literal);

    /// The value that is being read.
    [[nodiscard]] JsonValue& value() { return pending.back().value; }

    /// As much as most documents need.
    static constexpr std::size_t initialCapacity = 64;

    const char* cursor;

    /// The values that are being read, from the root inwards, each followed by the members or
    /// elements that have been read of it. The names of the root and of elements are empty.
    std::vector<JsonMember> pending;
};
