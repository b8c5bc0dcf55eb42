// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include "json/JsonValue.h"

/// Reads the number that a NUL-terminated text begins with, as strtoll(3) in base 0 or else
/// strtod(3) reads it, into an integer or a number. No text before the end of a value reads as the
/// integer 0, which is intended.
///
/// Returns the place behind the number, where a value has to end: at whitespace, a comma or a
/// closing bracket. Returns null, and leaves the value as it was, when what either function reads
/// does not end at such a place.
[[nodiscard]] const char* readNumber(const char* text, JsonValue& value);
