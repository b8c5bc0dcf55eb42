// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/faults/RunKind.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"
#include "tests/stages/faults/Promise.h"

// What the other tests of this folder compare with.
namespace {

class KindOfRun : public testing::TestWithParam<RunKind> {};

TEST_P(KindOfRun, EndsAsDescribedWithoutAFault)
{
    const RunKind& kind = GetParam();
    Appliance appliance;
    arrange(kind, appliance);
    const Tree before = treeNow();

    const RunResult run = appliance.run(kind.arguments);

    EXPECT_EQ(run.status, kind.status);
    EXPECT_EQ(readFile(configPath), kind.after);
    EXPECT_TRUE(comesToItsEnd(kind, run, before));
    std::set<Tree> seen;
    EXPECT_TRUE(isRepairedByTheNextRun(kind, appliance, seen));
    RecordProperty("undisturbed runs", 2);
}

TEST_P(KindOfRun, EndsAsDescribedBesideATemporaryFileThatWasLeft)
{
    const RunKind& kind = GetParam();
    Appliance appliance;
    arrange(kind, appliance);
    writeFile(configPath + ".filsec", kind.before + kind.after);
    const Tree before = treeNow();

    const RunResult run = appliance.run(kind.arguments);

    EXPECT_TRUE(comesToItsEnd(kind, run, before));
    RecordProperty("undisturbed runs", 1);
}

INSTANTIATE_TEST_SUITE_P(, KindOfRun, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
