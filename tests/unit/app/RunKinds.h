// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/ExpectedRun.h"
#include "tests/unit/effects/Effects.h"

inline const std::string configPath = "/appliance/config.json";

/// A kind of run of the program.
struct RunKind {
    std::string name;
    std::vector<std::string> arguments;  ///< without the program's name
    std::function<void()> arrange;       ///< changes what resetAppliance leaves
    std::string effects;                 ///< as runProgram returns them
};

void PrintTo(const RunKind& kind, std::ostream* out);

/// At least one for each exit status, with the marker files and the states of the switch.
const std::vector<RunKind>& runKinds();

/// Puts files in place of an appliance's: no marker file, line 17 exported and low, and nothing in
/// the directory of the configuration file.
void resetAppliance();

/// Runs the program's main and returns its effects. Among them are "stdout" and "stderr" with the
/// text that was flushed, "log" with the level, the identity and the text of a record, and at last
/// "exit" with the status.
std::string runProgram(Effects& effects, const std::vector<std::string>& arguments,
                       const std::string& programPath = "/usr/sbin/switch-querier");

/// Likewise, when no effect is to differ.
std::string runWith(const std::vector<std::string>& arguments,
                    const std::string& programPath = "/usr/sbin/switch-querier");

/// Returns the effects of a run of this kind in an appliance that is reset and arranged for it.
std::string runOf(const RunKind& kind, const std::string& programPath = "/usr/sbin/switch-querier");

/// The last effects of a run that fails.
std::string failed(const expected::Failure& failure);
