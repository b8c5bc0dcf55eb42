// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/RunKind.h"

/// Every path that a run could have changed, and what stands there.
using Tree = std::map<std::string, std::string>;

/// The trees under the folders of the configuration, the marker files and the switch.
Tree treeNow();

/// What a fault takes away from a run that still keeps its promise.
struct Excuse {
    bool console = false;  ///< console output may be missing
    bool log = false;      ///< log records may be missing
    int signal = 0;        ///< this signal may end the run
};

/// How many more faults are tried once one has broken the promise, so that what is reported can
/// still be read.
inline constexpr int triesAfterFailure = 20;

/// Whether a run kept its promise, whatever struck it. A run that ends by itself
///    - ends with a number that its kind can end with;
///    - left the new file, whole and alone, where that number is a mode, and else the old file to
///      the byte, with at most the temporary file beside it; a file that could not be renamed into
///      place is whole;
///    - wrote on the console exactly what belongs to that number, and logged the same.
/// A run that a signal ended left the old file or the new one. The switch's files are as before but
/// for "in" in the direction and "17" in the export, or nothing where that write was struck; the
/// rest of the tree, taken before the run, is untouched.
testing::AssertionResult keepsPromise(const RunKind& kind, const RunResult& run, const Tree& before,
                                      const Excuse& excuse);

/// All the numbers that a run of the kind can end with, whatever strikes it.
std::set<int> statusesOf(const RunKind& kind);

/// Whether an undisturbed run came to the end that its kind has.
testing::AssertionResult comesToItsEnd(const RunKind& kind, const RunResult& run,
                                       const Tree& before);

/// Whether an undisturbed run of the kind, on what an earlier run left, does its work: a file that
/// was to be updated is, a flipped one is flipped again, no temporary file is left. States that it
/// has seen before, as kept by the caller, are not tried again.
testing::AssertionResult isRepairedByTheNextRun(const RunKind& kind, Appliance& appliance,
                                                std::set<Tree>& seen);
