// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// The reference that the tests compare the product with. It uses nothing of the product, so that
/// no test compares the product with itself.
///
/// A mode is the number that a run exits with: 0 for decoder, 1 for encoder; -1 is none.
namespace expected {

/// What decides the mode.
struct Deciders {
    int parameter = -1;  ///< 0 or 1 for a forced mode, 2 for a flip, -1 for none
    int markerFile = -1;
    int hardware = -1;
};

/// Stands for every value that a source can have.
inline constexpr int any = 100;
/// Stands, as a result, for the mode that the configuration file does not record.
inline constexpr int flipped = 101;

struct Rule {
    const char* name;
    int parameter;
    int markerFile;
    int hardware;
    int result;

    [[nodiscard]] constexpr bool matches(const Deciders& deciders) const
    {
        return (parameter == any || parameter == deciders.parameter) &&
               (markerFile == any || markerFile == deciders.markerFile) &&
               (hardware == any || hardware == deciders.hardware);
    }
};

/// Read from the top; the first rule that matches holds.
inline constexpr Rule rules[] = {
    {"-enc", 1, any, any, 1},
    {"-dec", 0, any, any, 0},
    {"-flip", 2, any, any, flipped},
    {"marker file DECODER", -1, 0, any, 0},
    {"marker file ENCODER", -1, 1, any, 1},
    {"switch at decoder", -1, -1, 0, 0},
    {"switch at encoder", -1, -1, 1, 1},
    {"nothing decides", -1, -1, -1, -1},
};

/// REQUIRES: each value is one that its source can have.
[[nodiscard]] constexpr const Rule& ruleFor(const Deciders& deciders)
{
    const Rule* rule = rules;
    while (!rule->matches(deciders)) {
        ++rule;
    }
    return *rule;
}

/// The mode that is decided, given the one that the configuration file records.
[[nodiscard]] constexpr int mode(const Deciders& deciders, int recorded)
{
    const int result = ruleFor(deciders).result;
    return result == flipped ? 1 - recorded : result;
}

}  // namespace expected
