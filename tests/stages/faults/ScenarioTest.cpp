// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/faults/Scenario.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"
#include "tests/stages/faults/Guarantee.h"

// The runs without a fault, which the other tests of this directory compare with.
namespace {

class Baseline : public testing::TestWithParam<Scenario> {};

TEST_P(Baseline, EndsAsExpectedWithoutAFault)
{
    const Scenario& scenario = GetParam();
    Appliance appliance;
    arrange(scenario, appliance);
    const Tree before = Appliance::files();

    const RunResult run = appliance.run(scenario.arguments());

    EXPECT_EQ(run.status, scenario.status);
    EXPECT_EQ(readFile(configPath), scenario.after());
    EXPECT_TRUE(endsAsExpected(scenario, run, before));
    std::set<Tree> seen;
    EXPECT_TRUE(nextRunRecovers(scenario, appliance, seen));
    RecordProperty("runs without a fault", 2);
}

TEST_P(Baseline, EndsAsExpectedNextToATemporaryFileThatIsLeftOver)
{
    const Scenario& scenario = GetParam();
    Appliance appliance;
    arrange(scenario, appliance);
    writeFile(configPath + ".filsec", scenario.before() + scenario.after());
    const Tree before = Appliance::files();

    const RunResult run = appliance.run(scenario.arguments());

    EXPECT_TRUE(endsAsExpected(scenario, run, before));
    RecordProperty("runs without a fault", 1);
}

INSTANTIATE_TEST_SUITE_P(, Baseline, testing::ValuesIn(scenarios()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
