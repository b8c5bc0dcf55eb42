// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "tests/unit/app/FailingMemory.h"
#include "tests/unit/app/RunKinds.h"
#include "tests/unit/calls/Calls.h"

// Nothing catches an exception, so that it ends the process by a signal and never by an exit status
// that would stand for a mode.
namespace {

/// The exit status that the transcript ends with.
std::string exitOf(const std::string& transcript)
{
    const std::size_t start = transcript.rfind("exit ");
    return start == std::string::npos ? transcript : transcript.substr(start);
}

class Exception : public testing::TestWithParam<RunKind> {};

// A stream keeps an exception that it meets for itself: then its text is lost, and the run goes on
// to its own status.
TEST_P(Exception, OfAnyAllocationLeavesMain)
{
    const RunKind& kind = GetParam();
    bool failed = true;
    for (long allocation = 0; failed; ++allocation) {
        SCOPED_TRACE(allocation);
        ASSERT_LT(allocation, 10'000);
        resetAppliance();
        kind.arrange();
        Calls calls;
        allocationsLeft = allocation;
        std::string ended = "exception";
        try {
            ended = exitOf(runProgram(calls, kind.arguments));
        } catch (const std::bad_alloc&) {
        }
        failed = allocationsLeft < 0;
        allocationsLeft = -1;
        if (ended != "exception") {
            EXPECT_EQ(ended, exitOf(kind.transcript));
        }
    }
}

// Of open(2) and opendir(3) compilers assume that they throw nothing.
TEST_P(Exception, OfACallLeavesMain)
{
    const RunKind& kind = GetParam();
    for (const char* const call : {"usleep", "fopen"}) {
        SCOPED_TRACE(call);
        resetAppliance();
        kind.arrange();
        Calls calls;
        bool thrown = false;
        calls.before = [&](const std::string& line) {
            if (line.starts_with(call)) {
                thrown = true;
                throw std::bad_alloc();
            }
        };
        bool left = false;
        try {
            runProgram(calls, kind.arguments);
        } catch (const std::bad_alloc&) {
            left = true;
        }
        EXPECT_EQ(left, thrown);
    }
}

INSTANTIATE_TEST_SUITE_P(, Exception, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
