// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/HardwareSwitch.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/unit/app/RecordingStream.h"

namespace fs = std::filesystem;

namespace {

using Records = std::vector<std::string>;

const std::string gpioDirectory = "/sys/class/gpio";
const std::string line = gpioDirectory + "/gpio17";

/// Creates the files of line 17 as the kernel does for an export, with direction "out".
void makeLine(const std::string& value)
{
    emptyDirectory(gpioDirectory);
    writeFile(gpioDirectory + "/export", "");
    writeFile(gpioDirectory + "/unexport", "");
    fs::create_directory(line);
    writeFile(line + "/direction", "out\n");
    writeFile(line + "/value", value);
}

class HardwareSwitch : public testing::Test {
protected:
    HardwareSwitch() { emptyDirectory(gpioDirectory); }
    ~HardwareSwitch() override { emptyDirectory(gpioDirectory); }
};

struct Level {
    const char* name;
    const char* value;
    Mode mode;
};

void PrintTo(const Level& row, std::ostream* out)
{
    *out << row.name;
}

class HardwareSwitchLevel : public HardwareSwitch, public testing::WithParamInterface<Level> {};

TEST_P(HardwareSwitchLevel, SelectsTheMode)
{
    makeLine(GetParam().value);
    RecordingStream errorLog;
    EXPECT_EQ(readHardwareSwitch(errorLog), GetParam().mode);
    EXPECT_EQ(errorLog.records(), Records{});
}

const Level levels[] = {
    {"High", "1\n", decoder},
    {"Low", "0\n", encoder},
    {"OtherByte", "x\n", encoder},
    {"Newline", "\n\n", encoder},
    {"HighWithoutANewline", "10", decoder},
    {"LowWithoutANewline", "01", encoder},
    {"HighAndMore", "1\n1", decoder},
};

INSTANTIATE_TEST_SUITE_P(, HardwareSwitchLevel, testing::ValuesIn(levels),
                         [](const auto& row) { return row.param.name; });

TEST_F(HardwareSwitch, IsMadeAnInputAndStaysExported)
{
    makeLine("1\n");
    RecordingStream errorLog;
    EXPECT_EQ(readHardwareSwitch(errorLog), decoder);
    EXPECT_EQ(readFile(line + "/direction"), "in");
    EXPECT_EQ(readFile(line + "/value"), "1\n");
    EXPECT_EQ(readFile(gpioDirectory + "/export"), "");
    EXPECT_EQ(readFile(gpioDirectory + "/unexport"), "");
}

struct Fault {
    const char* name;
    std::function<void()> make;
    std::string error;
};

void PrintTo(const Fault& row, std::ostream* out)
{
    *out << row.name;
}

class HardwareSwitchFault : public HardwareSwitch, public testing::WithParamInterface<Fault> {};

TEST_P(HardwareSwitchFault, IsLoggedAndLeavesTheModeUnknown)
{
    GetParam().make();
    RecordingStream errorLog;
    EXPECT_EQ(readHardwareSwitch(errorLog), noMode);
    EXPECT_EQ(errorLog.records(), Records{GetParam().error + "\n"});
    if (fs::exists(line)) {
        EXPECT_EQ(readFile(gpioDirectory + "/unexport"), "");
    }
}

const Fault faults[] = {
    {"EmptyValue", [] { makeLine(""); }, expected::cannotReadSwitch()},
    {"HighButOneByteShort", [] { makeLine("1"); }, expected::cannotReadSwitch()},
    {"LowButOneByteShort", [] { makeLine("0"); }, expected::cannotReadSwitch()},
    {"NoGpioFiles", [] { fs::remove_all(gpioDirectory); }, expected::cannotInitSwitch()},
    {"ExportRefused",
     [] {
         writeFile(gpioDirectory + "/export", "");
         chmod((gpioDirectory + "/export").c_str(), 0444);
     },
     expected::cannotInitSwitch()},
    {"NoValueFile",
     [] {
         makeLine("1\n");
         fs::remove(line + "/value");
     },
     expected::cannotInitSwitch()},
    {"ValueNotWritable",
     [] {
         makeLine("1\n");
         chmod((line + "/value").c_str(), 0444);
     },
     expected::cannotInitSwitch()},
    {"DirectionNotWritable",
     [] {
         makeLine("1\n");
         chmod((line + "/direction").c_str(), 0444);
     },
     expected::cannotInitSwitch()},
    {"AnotherLineOnly",
     [] {
         fs::create_directory(gpioDirectory + "/gpio1");
         writeFile(gpioDirectory + "/gpio1/direction", "in\n");
         writeFile(gpioDirectory + "/gpio1/value", "1\n");
     },
     expected::cannotInitSwitch()},
};

INSTANTIATE_TEST_SUITE_P(, HardwareSwitchFault, testing::ValuesIn(faults),
                         [](const auto& row) { return row.param.name; });

TEST_F(HardwareSwitch, IsExportedIfItIsNot)
{
    writeFile(gpioDirectory + "/export", "an earlier request");
    RecordingStream errorLog;
    // The files of the line never appear here.
    EXPECT_EQ(readHardwareSwitch(errorLog), noMode);
    EXPECT_EQ(readFile(gpioDirectory + "/export"), "17");
    EXPECT_EQ(errorLog.records(), Records{expected::cannotInitSwitch() + "\n"});
}

TEST_F(HardwareSwitch, IsClosedAfterwards)
{
    const std::vector<std::string> before = namesIn("/proc/self/fd");
    ASSERT_FALSE(before.empty());
    for (const char* value : {"1\n", "1"}) {
        SCOPED_TRACE(value);
        makeLine(value);
        RecordingStream errorLog;
        static_cast<void>(readHardwareSwitch(errorLog));
        EXPECT_EQ(namesIn("/proc/self/fd"), before);
    }
}

}  // namespace
