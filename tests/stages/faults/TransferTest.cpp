// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <climits>
#include <set>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Guarantee.h"
#include "tests/stages/faults/Preload.h"
#include "tests/stages/faults/Scenario.h"

// read(2) and write(2) may transfer less than requested. Only the level of the switch has to come
// in one piece, as the kernel delivers it.
namespace {

class ShortTransfer : public testing::TestWithParam<Scenario> {};

TEST_P(ShortTransfer, LosesNoByteOfAFile)
{
    const Scenario& scenario = GetParam();
    const int transfers = preloadedCallsOf(scenario, "short-transfer");
    EXPECT_GT(transfers, 0);
    std::set<Tree> seen;
    const auto runWith = [&](int first, int last) {
        SCOPED_TRACE("transfers " + std::to_string(first) + " to " + std::to_string(last));
        Appliance appliance;
        arrange(scenario, appliance);
        const Tree before = Appliance::files();

        const RunResult run = runWithPreload(appliance, scenario, "short-transfer", first, last);

        EXPECT_TRUE(holdsGuarantee(scenario, run, before, {}));
        EXPECT_TRUE(run.status == scenario.status ||
                    run.err.starts_with("ERROR: " + expected::cannotReadSwitch() + "\n"));
        EXPECT_TRUE(nextRunRecovers(scenario, appliance, seen));
    };
    for (int ordinal = 1; ordinal <= transfers; ++ordinal) {
        runWith(ordinal, ordinal);
        runWith(ordinal, INT_MAX);
    }
    RecordProperty("transfers cut short", 2 * transfers);
}

INSTANTIATE_TEST_SUITE_P(, ShortTransfer, testing::ValuesIn(scenarios()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
