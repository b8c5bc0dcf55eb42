// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/stages/faults/Guarantee.h"
#include "tests/stages/faults/Injection.h"
#include "tests/stages/faults/Scenario.h"

namespace {

// Every allocation of the process fails, also those before main. Nothing catches that: the program
// aborts, or the library gives up on a message or a file.
class Allocation : public testing::TestWithParam<Scenario> {};

TEST_P(Allocation, MayFail)
{
    const int allocations = callsOf(GetParam(), "allocation");
    EXPECT_GT(allocations, 0);
    int aborted = 0;
    for (const bool fromThenOn : {false, true}) {
        for (int ordinal = 1; ordinal <= allocations && !HasFailure(); ++ordinal) {
            SCOPED_TRACE("allocation " + std::to_string(ordinal) +
                         (fromThenOn ? " and all after it" : ""));
            FaultyRun faulty(GetParam());

            const RunResult run =
                faulty.run(withFailing("allocation", ordinal, fromThenOn ? INT_MAX : ordinal),
                           {.console = true, .log = true, .signal = SIGABRT});

            faulty.expectRecovery();
            aborted += run.signal == SIGABRT ? 1 : 0;
        }
    }
    EXPECT_GT(aborted, 0);
    RecordProperty("allocations failed", 2 * allocations);
}

INSTANTIATE_TEST_SUITE_P(, Allocation, testing::ValuesIn(scenarios()),
                         [](const auto& row) { return row.param.name; });

// read(2) and write(2) may transfer less than requested. Only the level of the switch has to come
// in one piece, as the kernel delivers it.
class ShortTransfer : public testing::TestWithParam<Scenario> {};

TEST_P(ShortTransfer, LosesNoByteOfAFile)
{
    const int transfers = callsOf(GetParam(), "transfer");
    EXPECT_GT(transfers, 0);
    for (int ordinal = 1; ordinal <= transfers && !HasFailure(); ++ordinal) {
        for (const int last : {ordinal, INT_MAX}) {
            SCOPED_TRACE("transfers " + std::to_string(ordinal) + " to " + std::to_string(last));
            FaultyRun faulty(GetParam());

            const RunResult run = faulty.run(withFailing("transfer", ordinal, last));

            EXPECT_TRUE(run.status == GetParam().status() ||
                        run.err.starts_with("ERROR: " + expected::cannotReadSwitch() + "\n"));
            faulty.expectRecovery();
        }
    }
    RecordProperty("transfers cut short", 2 * transfers);
}

INSTANTIATE_TEST_SUITE_P(, ShortTransfer, testing::ValuesIn(scenarios()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
