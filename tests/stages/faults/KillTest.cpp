// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Promise.h"
#include "tests/stages/faults/RunKind.h"
#include "tests/stages/faults/Trace.h"

namespace {

class Kill : public testing::TestWithParam<RunKind> {};

TEST_P(Kill, AtAnySystemCallTearsNoFileAndIsRepaired)
{
    const RunKind& kind = GetParam();
    std::set<Tree> repaired;
    int kills = 0;
    int more = 0;
    for (const SystemCall& call : systemCallsOf(kind)) {
        if (call.name == "execve") {
            continue;  // that is not the program yet
        }
        SCOPED_TRACE("killed at " + call.text);
        Appliance appliance;
        arrange(kind, appliance);
        const Tree before = treeNow();

        const RunResult run = runWithFault(appliance, kind, call.name,
                                           "signal=KILL:when=" + std::to_string(call.ordinal));

        EXPECT_EQ(run.signal, SIGKILL);
        EXPECT_TRUE(keepsPromise(kind, run, before, {.signal = SIGKILL}));
        EXPECT_TRUE(isRepairedByTheNextRun(kind, appliance, repaired));
        ++kills;
        if (HasFailure() && ++more == triesAfterFailure) {
            return;
        }
    }
    EXPECT_GT(kills, 0);
    RecordProperty("kills", kills);
}

INSTANTIATE_TEST_SUITE_P(, Kill, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
