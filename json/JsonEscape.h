// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>

/// The bytes that a string has as a backslash and a letter, and the letter of each.
inline constexpr std::string_view escapedBytes = "\b\t\n\f\r\"\\";
inline constexpr std::string_view escapeLetters = "btnfr\"\\";
