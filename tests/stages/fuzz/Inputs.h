// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

struct Input {
    std::string name;
    std::string text;
};

/// The seed corpus: one document for each thing that the dialect accepts or refuses.
std::vector<Input> seeds();

/// Inputs on which a fuzzer has found a fault, named after the fault. They are never removed.
std::vector<Input> regressions();
