// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <set>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Scenario.h"

/// What the guarantee may lose to a fault.
struct Tolerance {
    bool console = false;  ///< console output may be missing
    bool log = false;      ///< log records may be missing
    int signal = 0;        ///< this signal may end the run
};

/// All statuses that a run of the scenario can end with, whatever fails in it.
std::set<int> statusesOf(const Scenario& scenario);

/// A run of a scenario into which a fault is injected, and the next one, which meets none.
class FaultyRun {
public:
    /// Makes the files that the run finds. The scenario must outlive this.
    explicit FaultyRun(const Scenario& kind);

    /// Runs, and expects the guarantee to hold, whatever failed. A run that ends by itself
    ///    - ends with a status that its scenario can end with;
    ///    - leaves the new file, whole and alone, if that status is a mode, and else the old file
    ///      byte for byte, with at most the temporary file next to it; a file that could not be
    ///      renamed into place is whole;
    ///    - writes on the console exactly what belongs to that status, and logs the same.
    /// A run that a signal ended leaves the old file or the new one. The switch's files are as
    /// before but for "in" in the direction and "17" in the export, or nothing if that write
    /// failed; everything else is untouched.
    RunResult run(const RunOptions& options, const Tolerance& tolerance = {});

    /// Expects a run without a fault to recover from what the other left: a file that was to be
    /// updated is, a flipped one is flipped again, no temporary file is left. A state that was
    /// tried before is not tried again.
    void expectRecovery();

private:
    const Scenario& scenario;
    Appliance appliance;
};
