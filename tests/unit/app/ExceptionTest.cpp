// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "tests/unit/app/FailingMemory.h"
#include "tests/unit/app/RunKinds.h"
#include "tests/unit/effects/Effects.h"

namespace {

/// The exit status at the end of the effects of a run.
std::string exitOf(const std::string& effects)
{
    return effects.substr(effects.rfind("exit "));
}

class Exception : public testing::TestWithParam<RunKind> {};

// Nothing catches an exception, so that it ends the process by a signal and never by an exit status
// that would stand for a mode. But a stream keeps an exception that it meets for itself: then its
// text is lost, and the run goes on to its own status.
TEST_P(Exception, OfAnyAllocationLeavesMain)
{
    const RunKind& kind = GetParam();
    bool failed = true;
    for (long allocation = 0; failed; ++allocation) {
        SCOPED_TRACE(allocation);
        ASSERT_LT(allocation, 10'000);
        allocationsLeft = allocation;
        try {
            EXPECT_EQ(exitOf(runOf(kind)), exitOf(kind.effects));
        } catch (const std::bad_alloc&) {
        }
        failed = allocationsLeft < 0;
        allocationsLeft = -1;
    }
}

INSTANTIATE_TEST_SUITE_P(, Exception, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
