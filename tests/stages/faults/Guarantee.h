// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Scenario.h"

/// What the guarantee may lose to a fault.
struct Tolerance {
    bool console = false;  ///< console output may be missing
    bool log = false;      ///< log records may be missing
    int signal = 0;        ///< this signal may end the run
};

/// How many more faults are injected after one has broken the guarantee, so that the report stays
/// readable.
inline constexpr int triesAfterFailure = 20;

/// Whether the guarantee holds after a run, whatever failed in it. A run that ends by itself
///    - ends with a status that its scenario can end with;
///    - leaves the new file, whole and alone, if that status is a mode, and else the old file byte
///      for byte, with at most the temporary file next to it; a file that could not be renamed into
///      place is whole;
///    - writes on the console exactly what belongs to that status, and logs the same.
/// A run that a signal ended leaves the old file or the new one. The switch's files are as before
/// but for "in" in the direction and "17" in the export, or nothing if that write failed; the rest
/// of the tree, taken before the run, is untouched.
testing::AssertionResult holdsGuarantee(const Scenario& scenario, const RunResult& run,
                                        const Tree& before, const Tolerance& tolerance);

/// All statuses that a run of the scenario can end with, whatever fails in it.
std::set<int> statusesOf(const Scenario& scenario);

/// Whether a run without a fault ended as its scenario says.
testing::AssertionResult endsAsExpected(const Scenario& scenario, const RunResult& run,
                                        const Tree& before);

/// Whether a run of the scenario without a fault recovers from what an earlier one left: a file
/// that was to be updated is, a flipped one is flipped again, no temporary file is left. States in
/// the set, which the caller keeps, are not tried again.
testing::AssertionResult nextRunRecovers(const Scenario& scenario, Appliance& appliance,
                                         std::set<Tree>& seen);
