// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

/// Makes this process the program, with these words as its arguments, the first of them its name.
/// Looks the program up in PATH unless it holds a slash. Exits with 99 when that fails.
[[noreturn]] void becomeProgram(const std::string& program, std::vector<std::string> words);
