// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

#include "json/JsonValue.h"

/// Reads the number that a NUL-terminated text begins with, as strtoll(3) in base 0 or else
/// strtod(3) reads it, into an integer or a real. Where the value is missing it is the integer 0,
/// which is intended.
///
/// Returns the end of the number, which is whitespace, a comma or a closing bracket. Returns null,
/// and leaves the value as it was, if neither function ends its reading at such a byte.
[[nodiscard]] const char* readNumber(const char* text, JsonValue& value);

/// Appends the number to the text: an integer in decimal, a real as printf(3) writes it with
/// "%.34g".
void appendNumber(std::int64_t integer, std::string& text);
void appendNumber(double real, std::string& text);
