// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

struct Input {
    std::string name;
    std::string text;
};

/// Documents to begin with: one of each kind of thing that the dialect reads or refuses.
std::vector<Input> seeds();

/// What a fuzzer has found at fault, each named after the fault. They are never removed.
std::vector<Input> regressions();

/// The two bytes that tryUpdate takes before a document, in each combination that it knows.
std::vector<std::string> updateChoices();
