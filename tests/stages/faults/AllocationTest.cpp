// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <set>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Guarantee.h"
#include "tests/stages/faults/Preload.h"
#include "tests/stages/faults/Scenario.h"

// Every allocation of the process fails, also those before main. Nothing catches that: the program
// aborts, or the library gives up on a message or a file.
namespace {

class Allocation : public testing::TestWithParam<Scenario> {};

TEST_P(Allocation, MayFail)
{
    const Scenario& scenario = GetParam();
    const int allocations = preloadedCallsOf(scenario, "failing-allocation");
    EXPECT_GT(allocations, 0);
    std::set<Tree> seen;
    int aborted = 0;
    int more = 0;
    for (const bool fromThenOn : {false, true}) {
        for (int ordinal = 1; ordinal <= allocations; ++ordinal) {
            SCOPED_TRACE("allocation " + std::to_string(ordinal) +
                         (fromThenOn ? " and all after it" : ""));
            Appliance appliance;
            arrange(scenario, appliance);
            const Tree before = Appliance::files();

            const RunResult run = runWithPreload(appliance, scenario, "failing-allocation", ordinal,
                                                 fromThenOn ? INT_MAX : ordinal);

            EXPECT_TRUE(holdsGuarantee(scenario, run, before,
                                       {.console = true, .log = true, .signal = SIGABRT}));
            EXPECT_TRUE(nextRunRecovers(scenario, appliance, seen));
            aborted += run.signal == SIGABRT ? 1 : 0;
            if (HasFailure() && ++more == triesAfterFailure) {
                return;
            }
        }
    }
    EXPECT_GT(aborted, 0);
    RecordProperty("allocations failed", 2 * allocations);
}

INSTANTIATE_TEST_SUITE_P(, Allocation, testing::ValuesIn(scenarios()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
