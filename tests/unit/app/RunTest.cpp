// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/app/FailingMemory.h"
#include "tests/unit/app/RunKinds.h"
#include "tests/unit/calls/Calls.h"

// A whole run as the sequence of calls that it makes.
namespace {

const RunKind& runKind(std::string_view name)
{
    return *std::ranges::find(runKinds(), name, &RunKind::name);
}

/// The text with each occurrence of one of its parts replaced.
std::string with(std::string text, const std::string& part, const std::string& replacement)
{
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos;
         at += replacement.size()) {
        text.replace(at, part.size(), replacement);
    }
    return text;
}

class Run : public testing::TestWithParam<RunKind> {};

TEST_P(Run, MakesItsCallsInOrder)
{
    resetAppliance();
    GetParam().arrange();
    Calls calls;

    EXPECT_EQ(runProgram(calls, GetParam().arguments), GetParam().transcript);
}

// Nothing is kept from one run to the next.
TEST_P(Run, IsTheSameAfterAnyOther)
{
    for (const RunKind& first : runKinds()) {
        SCOPED_TRACE(first.name);
        resetAppliance();
        first.arrange();
        Calls callsOfTheFirst;
        runProgram(callsOfTheFirst, first.arguments, "/bin/first");
        resetAppliance();
        GetParam().arrange();
        Calls calls;

        EXPECT_EQ(runProgram(calls, GetParam().arguments, "other"),
                  with(GetParam().transcript, "switch-querier", "other"));
    }
}

INSTANTIATE_TEST_SUITE_P(, Run, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

// The text is complete before the temporary file is opened: nothing as large is allocated any more.
TEST(RunThatUpdatesALargeFile, OpensTheTemporaryFileAfterTheLastLargeAllocation)
{
    resetAppliance();
    const std::string filling(9'900, 'x');
    writeFile("/appliance/config.json", R"({"App":{"isEncoder":false},"a":")" + filling + "\"}");
    Calls calls;
    std::size_t largestBefore = 0;
    largestAllocation = 0;
    calls.before = [&](const std::string& line) {
        if (line.starts_with("fopen /appliance/config.json.filsec")) {
            largestBefore = largestAllocation;
            largestAllocation = 0;
        }
    };

    EXPECT_TRUE(runProgram(calls, {"/appliance/config.json"}).ends_with("exit 1\n"));
    EXPECT_GE(largestBefore, filling.size());
    EXPECT_LT(largestAllocation, filling.size());
}

// Neither normalised nor resolved nor made absolute.
TEST(RunOnAPath, UsesItAsItIs)
{
    for (const char* const directory :
         {"/appliance/", "/appliance/../appliance//./", "/tmp/link/", "./", "../appliance/"}) {
        for (const char* const name : {"UpdateBySwitch", "NotNeeded", "Unreadable"}) {
            SCOPED_TRACE(std::string(directory) + ", " + name);
            resetAppliance();
            std::filesystem::remove("/tmp/link");
            std::filesystem::create_directory_symlink("/appliance", "/tmp/link");
            const RunKind& kind = runKind(name);
            kind.arrange();
            Calls calls;

            EXPECT_EQ(runProgram(calls, {std::string(directory) + "config.json"}),
                      with(kind.transcript, "/appliance/", directory));
        }
    }
}

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
