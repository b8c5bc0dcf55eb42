// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <set>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Preload.h"
#include "tests/stages/faults/Promise.h"
#include "tests/stages/faults/RunKind.h"

// Every allocation of the process failed, also those before main. Nothing catches that: the program
// aborts, or the library underneath gives up on a message or a file.
namespace {

class Allocation : public testing::TestWithParam<RunKind> {};

TEST_P(Allocation, ThatFailsLeavesThePromiseKeptAndIsRepaired)
{
    const RunKind& kind = GetParam();
    const int allocations = preloadedCallsOf(kind, "failing-allocation");
    EXPECT_GT(allocations, 0);
    std::set<Tree> repaired;
    int aborted = 0;
    int more = 0;
    for (const bool fromThenOn : {false, true}) {
        for (int ordinal = 1; ordinal <= allocations; ++ordinal) {
            SCOPED_TRACE("allocation " + std::to_string(ordinal) +
                         (fromThenOn ? " and all after it" : ""));
            Appliance appliance;
            arrange(kind, appliance);
            const Tree before = treeNow();

            const RunResult run = runWithPreload(appliance, kind, "failing-allocation", ordinal,
                                                 fromThenOn ? INT_MAX : ordinal);

            EXPECT_TRUE(
                keepsPromise(kind, run, before, {.console = true, .log = true, .signal = SIGABRT}));
            EXPECT_TRUE(isRepairedByTheNextRun(kind, appliance, repaired));
            aborted += run.signal == SIGABRT ? 1 : 0;
            if (HasFailure() && ++more == triesAfterFailure) {
                return;
            }
        }
    }
    EXPECT_GT(aborted, 0);
    RecordProperty("allocations failed", 2 * allocations);
}

INSTANTIATE_TEST_SUITE_P(, Allocation, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
