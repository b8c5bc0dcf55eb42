// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

/// One on which a fuzzer has found a fault is named after the fault, and never removed.
struct Input {
    std::string name;
    std::string text;
};

/// The rows of tests/dialect/, and documents of unusual sizes.
std::vector<Input> documents();

/// The same with the flag, and configuration files of every kind.
std::vector<Input> configurations();
