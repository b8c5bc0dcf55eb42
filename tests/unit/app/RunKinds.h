// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/unit/calls/Calls.h"

/// A kind of run of the program: how the appliance is arranged, and what the run calls.
struct RunKind {
    std::string name;
    std::vector<std::string> arguments;  ///< without the program's name
    std::function<void()> arrange;
    std::string transcript;  ///< as runProgram returns it
};

void PrintTo(const RunKind& kind, std::ostream* out);

/// At least one for each exit status, with the marker files and the states of the switch.
const std::vector<RunKind>& runKinds();

/// Puts files in place of an appliance's: no marker file, line 17 exported and low, and nothing in
/// the directory of the configuration file.
void resetAppliance();

/// Calls the program's main and returns what Calls recorded, with lines "stdout: " and "stderr: "
/// for each text that reached standard output or standard error at a flush, and the exit status.
std::string runProgram(Calls& calls, const std::vector<std::string>& arguments,
                       const std::string& programPath = "/usr/sbin/switch-querier");
