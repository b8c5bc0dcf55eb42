// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <climits>
#include <set>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Preload.h"
#include "tests/stages/faults/Promise.h"
#include "tests/stages/faults/RunKind.h"

// read(2) and write(2) may transfer less than they were asked for. Only the level of the switch has
// to come in one piece, as the kernel delivers it.
namespace {

class ShortTransfer : public testing::TestWithParam<RunKind> {};

TEST_P(ShortTransfer, LosesNoByteOfAFile)
{
    const RunKind& kind = GetParam();
    const int transfers = preloadedCallsOf(kind, "short-transfer");
    EXPECT_GT(transfers, 0);
    std::set<Tree> repaired;
    const auto runWith = [&](int first, int last) {
        SCOPED_TRACE("transfers " + std::to_string(first) + " to " + std::to_string(last));
        Appliance appliance;
        arrange(kind, appliance);
        const Tree before = treeNow();

        const RunResult run = runWithPreload(appliance, kind, "short-transfer", first, last);

        EXPECT_TRUE(keepsPromise(kind, run, before, {}));
        EXPECT_TRUE(run.status == kind.status ||
                    run.err.starts_with("ERROR: Cannot read GPIO17 status\n"));
        EXPECT_TRUE(isRepairedByTheNextRun(kind, appliance, repaired));
    };
    for (int ordinal = 1; ordinal <= transfers; ++ordinal) {
        runWith(ordinal, ordinal);
        runWith(ordinal, INT_MAX);
    }
    RecordProperty("transfers cut short", 2 * transfers);
}

INSTANTIATE_TEST_SUITE_P(, ShortTransfer, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
