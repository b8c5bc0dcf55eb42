// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/HardwareSwitch.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/app/RecordingStream.h"

namespace fs = std::filesystem;

namespace {

using Records = std::vector<std::string>;

const std::string gpioFolder = "/sys/class/gpio";
const std::string line = gpioFolder + "/gpio17";

/// Line 17 as the kernel shows it when it is exported, as an output at first.
void makeLine(const std::string& value)
{
    emptyDirectory(gpioFolder);
    writeFile(gpioFolder + "/export", "");
    writeFile(gpioFolder + "/unexport", "");
    fs::create_directory(line);
    writeFile(line + "/direction", "out\n");
    writeFile(line + "/value", value);
}

class HardwareSwitch : public testing::Test {
protected:
    HardwareSwitch() { emptyDirectory(gpioFolder); }
    ~HardwareSwitch() override { emptyDirectory(gpioFolder); }
};

TEST_F(HardwareSwitch, SelectsDecoderWhenHighAndEncoderWhenLow)
{
    struct Row {
        const char* value;
        Mode mode;
    };
    constexpr Row rows[] = {
        {"1\n", decoder}, {"0\n", encoder}, {"x\n", encoder},  {"\n\n", encoder},
        {"10", decoder},  {"01", encoder},  {"1\n1", decoder},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.value);
        makeLine(row.value);
        RecordingStream errorLog;
        EXPECT_EQ(readHardwareSwitch(errorLog), row.mode);
        EXPECT_EQ(errorLog.records(), Records{});
    }
}

TEST_F(HardwareSwitch, IsMadeAnInputAndStaysExported)
{
    makeLine("1\n");
    RecordingStream errorLog;
    EXPECT_EQ(readHardwareSwitch(errorLog), decoder);
    EXPECT_EQ(readFile(line + "/direction"), "in");
    EXPECT_EQ(readFile(line + "/value"), "1\n");
    EXPECT_EQ(readFile(gpioFolder + "/export"), "");
    EXPECT_EQ(readFile(gpioFolder + "/unexport"), "");
}

TEST_F(HardwareSwitch, TellsThatTheLineCannotBeRead)
{
    for (const char* value : {"", "1", "0"}) {
        SCOPED_TRACE(testing::Message() << '"' << value << '"');
        makeLine(value);
        RecordingStream errorLog;
        EXPECT_EQ(readHardwareSwitch(errorLog), noMode);
        EXPECT_EQ(errorLog.records(), Records{"Cannot read GPIO17 status\n"});
        EXPECT_EQ(readFile(gpioFolder + "/unexport"), "");
    }
}

TEST_F(HardwareSwitch, TellsThatTheLineCannotBeSetUp)
{
    struct Row {
        const char* name;
        std::function<void()> make;
    };
    const Row rows[] = {
        {"no GPIO files", [] { fs::remove_all(gpioFolder); }},
        {"export refused",
         [] {
             writeFile(gpioFolder + "/export", "");
             chmod((gpioFolder + "/export").c_str(), 0444);
         }},
        {"no value file",
         [] {
             makeLine("1\n");
             fs::remove(line + "/value");
         }},
        {"value not writable",
         [] {
             makeLine("1\n");
             chmod((line + "/value").c_str(), 0444);
         }},
        {"direction not writable",
         [] {
             makeLine("1\n");
             chmod((line + "/direction").c_str(), 0444);
         }},
        {"another line only",
         [] {
             fs::create_directory(gpioFolder + "/gpio1");
             writeFile(gpioFolder + "/gpio1/direction", "in\n");
             writeFile(gpioFolder + "/gpio1/value", "1\n");
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        emptyDirectory(gpioFolder);
        row.make();
        RecordingStream errorLog;
        EXPECT_EQ(readHardwareSwitch(errorLog), noMode);
        EXPECT_EQ(errorLog.records(), Records{"Cannot init GPIO17\n"});
    }
}

TEST_F(HardwareSwitch, IsExportedWhereItIsNot)
{
    writeFile(gpioFolder + "/export", "what an earlier request left");
    RecordingStream errorLog;
    // The line's files never appear here.
    EXPECT_EQ(readHardwareSwitch(errorLog), noMode);
    EXPECT_EQ(readFile(gpioFolder + "/export"), "17");
    EXPECT_EQ(errorLog.records(), Records{"Cannot init GPIO17\n"});
}

TEST_F(HardwareSwitch, IsClosedAfterTheReading)
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
