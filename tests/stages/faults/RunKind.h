// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"

/// A kind of run that faults are put into: what it finds, and what it comes to without a fault.
struct RunKind {
    std::string name;
    std::vector<std::string> arguments;

    /// The configuration file, and the text that a run puts in its place; the same where the run
    /// writes nothing.
    std::string before;
    std::string after;

    /// The mode that the file records, "Decoder" or "Encoder"; empty where it cannot be parsed.
    std::string fileMode;

    int status;

    /// What the switch may be reported as: no error, or the text of one. The first is what it is
    /// without a fault.
    std::vector<std::string> switchErrors;

    /// Makes the switch's files.
    std::function<void(Appliance&)> arrangeSwitch;

    [[nodiscard]] bool writes() const { return before != after; }
    [[nodiscard]] bool flips() const { return arguments.back() == "-flip"; }
    [[nodiscard]] bool queries() const { return arguments.back() == "-query"; }
};

void PrintTo(const RunKind& kind, std::ostream* out);

/// A flip, small and large, an update that the switch decides, a query of a file, and two runs
/// that fail by themselves.
const std::vector<RunKind>& runKinds();

/// The one of this name.
const RunKind& runKind(const std::string& name);

/// The same run once more, after one that replaced the file.
RunKind nextOf(const RunKind& kind);

/// Makes the files that a run of this kind finds.
void arrange(const RunKind& kind, Appliance& appliance);
