// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

struct Input {
    std::string name;
    std::string text;
};

/// The rows of tests/dialect/, and documents of unusual sizes.
std::vector<Input> documents();

/// The same with the flag, and configuration files of every kind.
std::vector<Input> configurations();

/// Inputs on which a fuzzer has found a fault, named after the fault. They are never removed.
/// Each is a document and a configuration.
std::vector<Input> regressions();
