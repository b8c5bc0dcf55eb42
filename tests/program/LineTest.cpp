// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"
#include "tests/program/ExpectedOutcome.h"

// The program and line 17.
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(Line, ThatAppearsLateIsReadAfterTheExport)
{
    for (const int level : {0, 1}) {
        SCOPED_TRACE(level);
        Appliance appliance;
        appliance.setSwitchOnExport(level, milliseconds(70));

        const RunResult run = appliance.run({"-query"});

        const Switch hardware = level == 1 ? Switch::high : Switch::low;
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, expected::run({.arguments = {"-query"}, .hardware = hardware}).out);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(readFile("/sys/class/gpio/export"), "17");
        EXPECT_EQ(readFile("/sys/class/gpio/gpio17/direction"), "in");
    }
}

TEST(Line, ThatNeverAppearsIsGivenUpAfterElevenWaits)
{
    Appliance appliance;
    emptyDirectory(Appliance::gpioDirectory);
    writeFile("/sys/class/gpio/export", "");

    const auto start = steady_clock::now();
    const RunResult run = appliance.run({"-query"});

    EXPECT_GE(steady_clock::now() - start, 11 * milliseconds(20));
    EXPECT_EQ(run.err, expected::run({.arguments = {"-query"}}).err);
    EXPECT_EQ(readFile("/sys/class/gpio/export"), "17");
}

TEST(Line, ThatIsExportedAlreadyIsNotExportedAgainAndStaysExported)
{
    Appliance appliance;
    appliance.setSwitch(Switch::high);
    writeFile("/sys/class/gpio/export", "");
    writeFile("/sys/class/gpio/unexport", "");

    const auto start = steady_clock::now();
    expectRun(appliance, {.arguments = {"-query"}, .hardware = Switch::high});

    EXPECT_GE(steady_clock::now() - start, milliseconds(20));
}

TEST(Line, ThatMayNotBeReadOrWrittenIsUnreadable)
{
    struct Row {
        const char* file;
        mode_t mode;
    };
    for (const Row& row : {Row{"value", 0222}, Row{"value", 0444}, Row{"direction", 0444}}) {
        SCOPED_TRACE(testing::Message() << row.file << ' ' << row.mode);
        Appliance appliance;
        appliance.setSwitch(Switch::low);
        chmod((std::string("/sys/class/gpio/gpio17/") + row.file).c_str(), row.mode);

        EXPECT_EQ(appliance.run({"-query"}).err, expected::run({.arguments = {"-query"}}).err);
    }
}

TEST(Query, AloneReportsAndTouchesNoFile)
{
    for (const Switch hardware : {Switch::low, Switch::high, Switch::notThere}) {
        Appliance appliance;
        appliance.setSwitch(hardware);
        appliance.setMarker("ENCODER");
        writeFile(configPath, handwritten("false"));

        expectRun(appliance,
                  {.arguments = {"-query"}, .markers = {"ENCODER"}, .hardware = hardware});
    }
}

}  // namespace
