// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Guarantee.h"
#include "tests/stages/faults/Scenario.h"
#include "tests/stages/faults/Trace.h"

namespace {

class Kill : public testing::TestWithParam<Scenario> {};

TEST_P(Kill, AtAnySystemCallTearsNoFile)
{
    const Scenario& scenario = GetParam();
    std::set<Tree> seen;
    int kills = 0;
    int more = 0;
    for (const SystemCall& call : systemCallsOf(scenario)) {
        if (call.name == "execve") {
            continue;  // that is not the program yet
        }
        SCOPED_TRACE("killed at " + call.text);
        Appliance appliance;
        arrange(scenario, appliance);
        const Tree before = Appliance::files();

        const RunResult run = runWithFault(appliance, scenario, call.name,
                                           "signal=KILL:when=" + std::to_string(call.ordinal));

        EXPECT_EQ(run.signal, SIGKILL);
        EXPECT_TRUE(holdsGuarantee(scenario, run, before, {.signal = SIGKILL}));
        EXPECT_TRUE(nextRunRecovers(scenario, appliance, seen));
        ++kills;
        if (HasFailure() && ++more == triesAfterFailure) {
            return;
        }
    }
    EXPECT_GT(kills, 0);
    RecordProperty("kills", kills);
}

INSTANTIATE_TEST_SUITE_P(, Kill, testing::ValuesIn(scenarios()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
