// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

// The program and line 17.
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class LateLine : public testing::TestWithParam<int> {};

TEST_P(LateLine, IsReadAfterTheExport)
{
    Appliance appliance;
    appliance.setSwitchOnExport(GetParam(), milliseconds(70));

    const RunResult run = appliance.run({"-query"});

    const Switch hardware = GetParam() == 1 ? Switch::high : Switch::low;
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, expected::run({.arguments = {"-query"}, .hardware = hardware}).out);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(readFile("/sys/class/gpio/export"), "17");
    EXPECT_EQ(readFile("/sys/class/gpio/gpio17/direction"), "in");
}

INSTANTIATE_TEST_SUITE_P(, LateLine, testing::Values(0, 1));

TEST(Line, ThatNeverAppearsIsGivenUpAfterElevenWaits)
{
    Appliance appliance;
    emptyDirectory(Appliance::gpioDirectory);
    writeFile("/sys/class/gpio/export", "");

    const auto start = steady_clock::now();
    const RunResult run = appliance.run({"-query"});

    EXPECT_GE(steady_clock::now() - start, 11 * milliseconds(20));
    EXPECT_EQ(run.err, "ERROR: " + expected::cannotInitSwitch() + "\n");
    EXPECT_EQ(readFile("/sys/class/gpio/export"), "17");
}

TEST(Line, ThatIsExportedAlreadyIsNotExportedAgainAndStaysExported)
{
    Appliance appliance;
    appliance.setSwitch(Switch::high);
    writeFile("/sys/class/gpio/export", "");
    writeFile("/sys/class/gpio/unexport", "");

    const auto start = steady_clock::now();
    const RunResult run = appliance.run({"-query"});

    EXPECT_GE(steady_clock::now() - start, milliseconds(20));
    EXPECT_EQ(run.out, expected::run({.arguments = {"-query"}, .hardware = Switch::high}).out);
    EXPECT_EQ(readFile("/sys/class/gpio/export"), "");
    EXPECT_EQ(readFile("/sys/class/gpio/unexport"), "");
    EXPECT_EQ(readFile("/sys/class/gpio/gpio17/direction"), "in");
    EXPECT_EQ(readFile("/sys/class/gpio/gpio17/value"), "1\n");
}

TEST(Query, AloneReportsThreeLinesAndTouchesNoFile)
{
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    appliance.setMarker("ENCODER");
    writeFile(configPath, handwritten("false"));

    const RunResult run = appliance.run({"-query"});

    EXPECT_EQ(run.status, 0);
    const expected::Deciders deciders{.markerFile = 1, .hardware = 1};
    const expected::Lines lines = expected::report(deciders);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(run.out, lines[0] + lines[1] + lines[2]);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.log, std::vector<LogRecord>{});
    EXPECT_EQ(namesIn(Appliance::directory), std::vector<std::string>{"config.json"});
    EXPECT_EQ(readFile(configPath), handwritten("false"));
}

}  // namespace
