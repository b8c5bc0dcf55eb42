// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

#include "json/JsonValue.h"

/// Writes a tree as text.
///
/// The level says how deep the text is nested: two spaces of indentation a level, one member or
/// element a line. Level 0 is the compact form, all on one line, and stays compact at every depth.
/// No text ends in a newline. The cost grows with the length of the text; the recursion is as deep
/// as the tree is nested. A text that is too large fails with std::bad_alloc or std::length_error.
class JsonWriter {
public:
    /// The text of a value. Null and unknown are "null". A real has up to 34 significant digits
    /// without trailing zeros, as printf(3) writes it with "%.34g": a whole one has no point, and
    /// one that a double cannot hold exactly shows the digits of what the double holds.
    [[nodiscard]] static std::string writeValue(const JsonValue& value, std::uint64_t level);

    /// The text of an object, its members in the order of their keys. Above level 0 its members
    /// are indented by the level and its closing brace by one level less.
    [[nodiscard]] static std::string writeObject(const JsonObject& object, std::uint64_t level);

    /// The member's name and value with a colon between them, indented by the level.
    [[nodiscard]] static std::string writeMember(const JsonMember& member, std::uint64_t level);

    /// The bytes in double quotes. A double quote, a backslash, and the five control bytes that
    /// have an escape letter (b, t, n, f, r) are written as escapes, every other byte as it is.
    [[nodiscard]] static std::string writeString(const std::string& string);
};
