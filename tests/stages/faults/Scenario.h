// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"

/// One kind of run that faults are injected into: its sources, and its result without a fault.
struct Scenario {
    std::string name;
    expected::Sources sources;

    /// What a fault can make of the switch, the state without a fault first.
    std::vector<Switch> switches;

    /// Whether the line's directory can be listed. If it can only be entered, the program asks for
    /// the export, and no second process has to make the line.
    bool isExported = true;

    [[nodiscard]] const std::vector<std::string>& arguments() const { return sources.arguments; }
    [[nodiscard]] const std::string& before() const { return sources.configuration.text; }

    [[nodiscard]] int status() const { return expected::run(sources).status; }

    /// The configuration file after a run; the same text if it writes nothing.
    [[nodiscard]] std::string after() const { return expected::run(sources).configuration; }

    [[nodiscard]] bool writes() const { return expected::run(sources).writes; }
};

void PrintTo(const Scenario& scenario, std::ostream* out);

/// A flip, small and large, an update that the switch decides, a query of a file, and two runs
/// that fail by themselves.
const std::vector<Scenario>& scenarios();

/// The one of this name.
const Scenario& scenario(const std::string& name);

/// The next run of the scenario, after one that has replaced the file.
Scenario nextOf(const Scenario& scenario);

/// Makes the files that a run of the scenario finds.
void arrange(const Scenario& scenario, Appliance& appliance);
