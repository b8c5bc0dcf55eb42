// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/unit/app/RunKinds.h"
#include "tests/unit/calls/Calls.h"

// A whole run as the sequence of calls that it makes.
namespace {

class Run : public testing::TestWithParam<RunKind> {};

TEST_P(Run, MakesItsCallsInOrder)
{
    resetAppliance();
    GetParam().arrange();
    Calls calls;

    EXPECT_EQ(runProgram(calls, GetParam().arguments), GetParam().transcript);
}

INSTANTIATE_TEST_SUITE_P(, Run, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

TEST(RunWithAWrongNumberOfArguments, PrintsTheUsageAndCallsNothing)
{
    resetAppliance();
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, std::vector<std::string>{"a", "-enc", "b"}}) {
        SCOPED_TRACE(arguments.size());
        Calls calls;

        const std::string transcript = runProgram(calls, arguments);

        EXPECT_TRUE(transcript.starts_with("stdout: ")) << transcript;
        EXPECT_TRUE(transcript.ends_with("bytes\nexit 96\n")) << transcript;
        EXPECT_EQ(std::ranges::count(transcript, '\n'), 2) << transcript;
    }
}

TEST(RunWithoutAProgramName, OpensTheSystemLogUnderAnotherName)
{
    resetAppliance();
    for (const char* const path : {"", "/usr/sbin/", "a\\"}) {
        SCOPED_TRACE(path);
        Calls calls;

        EXPECT_EQ(runProgram(calls, {"x", "-Enc"}, path),
                  "openlog \"KWsyslog3\" options 0 facility 0\n"
                  "openlog \"KWsyslog3\" options 0 facility 0\n"
                  "system clock\n"
                  "stderr: \"ERROR: Invalid enc/dec command line parameter at line \\n\"\n"
                  "syslog 3 %s as KWsyslog3: "
                  "\"Invalid enc/dec command line parameter at line \\n\"\n"
                  "closelog\n"
                  "closelog\n"
                  "exit 119\n");
    }
}

}  // namespace
