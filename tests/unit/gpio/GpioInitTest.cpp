// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/gpio/GpioLineFixture.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace {

class GpioLineInit : public GpioLineFixture {};

struct Request {
    const char* name;
    std::int32_t request;
    const char* direction;
    const char* expectedDirection;
    std::int32_t expectedMode;
    std::int32_t expectedValue;
};

void PrintTo(const Request& row, std::ostream* out)
{
    *out << row.name;
}

class GpioLineRequest : public GpioLineFixture, public testing::WithParamInterface<Request> {};

TEST_P(GpioLineRequest, OpensTheLine)
{
    const Request& row = GetParam();
    makeLine(17, "1\n");
    writeFile(directionFile, row.direction);
    GpioLine line;

    EXPECT_TRUE(line.init(17, row.request));
    EXPECT_EQ(readFile(directionFile), row.expectedDirection);
    EXPECT_EQ(line.currentMode(), row.expectedMode);
    EXPECT_EQ(line.lastValue(), row.expectedValue);
    EXPECT_EQ(readFile(valueFile), "1\n");
}

const Request requests[] = {
    {"Input", -1, "out\n", "in", -1, 1},
    {"InputForAnyNegativeRequest", lowest, "out\n", "in", -1, 1},
    {"OutputThatStartsLow", 0, "in\n", "low", 1, 0},
    {"OutputThatStartsHigh", 1, "in\n", "high", 1, 1},
    {"OutputAsItWas", 2, "out\n", "out\n", 1, 1},
    {"OutputThatWasAnInput", 2, "in\n", "high", 1, 1},
};

INSTANTIATE_TEST_SUITE_P(, GpioLineRequest, testing::ValuesIn(requests),
                         [](const auto& row) { return row.param.name; });

TEST_F(GpioLineInit, OpensTheValueFileOnceForReadingAndWriting)
{
    GpioLine line;

    ASSERT_TRUE(line.init(17, -1));
    EXPECT_EQ(calls.openFlags, std::vector<int>{O_RDWR});
}

TEST_F(GpioLineInit, DoesNotExportALineThatIsExported)
{
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_EQ(readFile(root + "export"), "");
}

TEST_F(GpioLineInit, NeedsNoExportFileForALineThatIsExported)
{
    fs::remove(root + "export");
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_FALSE(fs::exists(root + "export"));
}

struct Number {
    const char* name;
    std::int32_t number;
};

void PrintTo(const Number& row, std::ostream* out)
{
    *out << row.number;
}

class GpioLineNumber : public GpioLineFixture, public testing::WithParamInterface<Number> {};

TEST_P(GpioLineNumber, IsExportedIfItIsNot)
{
    const std::int32_t number = GetParam().number;
    emptyDirectory(root);
    writeFile(root + "export", "longer than any line number");
    calls.beforeOpen = [number](std::size_t /*attempt*/) { makeLine(number, "1\n"); };
    GpioLine line;

    EXPECT_TRUE(line.init(number, -1));
    EXPECT_EQ(readFile(root + "export"), std::to_string(number));
    EXPECT_EQ(line.readValue(), 1);
}

const Number numbers[] = {
    {"Seventeen", 17}, {"Zero", 0}, {"ThreeDigits", 512}, {"Highest", highest}, {"Negative", -5},
};

INSTANTIATE_TEST_SUITE_P(, GpioLineNumber, testing::ValuesIn(numbers),
                         [](const auto& row) { return row.param.name; });

TEST_F(GpioLineInit, ExportsALineIfAPlainFileHasItsName)
{
    fs::remove_all(lineDirectory);
    writeFile(lineDirectory, "");
    GpioLine line;

    EXPECT_FALSE(line.init(17, -1));
    EXPECT_EQ(readFile(root + "export"), "17");
}

struct ExportFault {
    const char* name;
    std::function<void()> arrange;
};

void PrintTo(const ExportFault& row, std::ostream* out)
{
    *out << row.name;
}

class GpioLineExportFault : public GpioLineFixture,
                            public testing::WithParamInterface<ExportFault> {};

TEST_P(GpioLineExportFault, PreventsTheAttemptToOpen)
{
    emptyDirectory(root);
    GetParam().arrange();
    GpioLine line;

    EXPECT_FALSE(line.init(17, -1));
    EXPECT_EQ(calls.openFlags.size(), 0U);
    EXPECT_EQ(line.currentMode(), 0);
}

const ExportFault exportFaults[] = {
    {"ExportIsADirectory", [] { fs::create_directory(root + "export"); }},
    {"ExportIsReadOnly",
     [] {
         writeFile(root + "export", "");
         ASSERT_EQ(chmod((root + "export").c_str(), 0444), 0);
     }},
    {"NoGpioFiles", [] { fs::remove_all(root); }},
};

INSTANTIATE_TEST_SUITE_P(, GpioLineExportFault, testing::ValuesIn(exportFaults),
                         [](const auto& row) { return row.param.name; });

// As for a line that a driver holds: write(2) fails with EBUSY, at the close of the stream.
TEST_F(GpioLineInit, TriesToOpenALineWhoseExportFailsOnlyAtTheClose)
{
    emptyDirectory(root);
    fs::create_symlink("/dev/full", root + "export");
    calls.beforeOpen = [](std::size_t /*attempt*/) { makeLine(17); };
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
}

TEST_F(GpioLineInit, GivesUpAfterElevenAttemptsToOpen)
{
    fs::remove(valueFile);
    const auto start = steady_clock::now();
    GpioLine line;

    EXPECT_FALSE(line.init(17, 0));
    EXPECT_EQ(steady_clock::now() - start, 11 * 20ms);
    EXPECT_EQ(calls.openFlags, std::vector<int>(11, O_RDWR));
    EXPECT_EQ(line.currentMode(), 0);
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(readFile(directionFile), "in\n");
}

class GpioLineAttempt : public GpioLineFixture, public testing::WithParamInterface<std::size_t> {};

TEST_P(GpioLineAttempt, OpensALineThatAppearsJustBefore)
{
    emptyDirectory(root);
    writeFile(root + "export", "");
    calls.beforeOpen = [](std::size_t attempt) {
        if (attempt == GetParam()) {
            makeLine(17, "1\n");
        }
    };
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_EQ(calls.openFlags.size(), GetParam());
    EXPECT_EQ(line.readValue(), 1);
    EXPECT_EQ(readFile(root + "export"), "17");
}

INSTANTIATE_TEST_SUITE_P(, GpioLineAttempt, testing::Range(std::size_t{1}, std::size_t{12}),
                         testing::PrintToStringParamName());

TEST_F(GpioLineInit, OpensALineThatBecomesWritableLate)
{
    ASSERT_EQ(chmod(valueFile.c_str(), 0444), 0);
    calls.beforeOpen = [](std::size_t attempt) {
        if (attempt == 3) {
            ASSERT_EQ(chmod(valueFile.c_str(), 0644), 0);
        }
    };
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_EQ(calls.openFlags.size(), 3U);
}

TEST_F(GpioLineInit, WaitsTwentyMillisecondsBeforeEachAttempt)
{
    fs::remove(valueFile);
    GpioLine line;
    auto previous = steady_clock::now();
    calls.beforeOpen = [&previous](std::size_t attempt) {
        SCOPED_TRACE(attempt);
        const auto now = steady_clock::now();
        EXPECT_EQ(now - previous, 20ms);
        previous = now;
    };

    EXPECT_FALSE(line.init(17, -1));
}

TEST_F(GpioLineInit, DoesNotTryAgainWhenTheDirectionFails)
{
    replaceByDirectory(directionFile);
    GpioLine line;

    EXPECT_FALSE(line.init(17, -1));
    EXPECT_EQ(calls.openFlags.size(), 1U);
}

}  // namespace
