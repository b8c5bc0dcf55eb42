// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

/// Replaces this process by the program, as execvp(3) does, with these words as argv. Exits with 99
/// on failure.
[[noreturn]] void becomeProgram(const std::string& program, std::vector<std::string> words);
