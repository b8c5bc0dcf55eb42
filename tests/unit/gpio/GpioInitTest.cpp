// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/gpio/GpioLineFixture.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;
using std::chrono::steady_clock;

TEST_F(GpioLineTest, OpensALineAsRequested)
{
    struct Row {
        const char* name;
        std::int32_t request;
        const char* direction;
        const char* expectedDirection;
        std::int32_t expectedMode;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {
        {"input", -1, "out\n", "in", -1, 1},
        {"input, any negative request", lowest, "out\n", "in", -1, 1},
        {"output that starts low", 0, "in\n", "low", 1, 0},
        {"output that starts high", 1, "in\n", "high", 1, 1},
        {"output as it was", 2, "out\n", "out\n", 1, 1},
        {"output, input before", 2, "in\n", "high", 1, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        makeLine(17, "1\n");
        writeFile(directionFile, row.direction);
        GpioLine line;

        EXPECT_TRUE(line.init(17, row.request));
        EXPECT_EQ(readFile(directionFile), row.expectedDirection);
        EXPECT_EQ(line.currentMode(), row.expectedMode);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
        EXPECT_EQ(readFile(valueFile), "1\n");
    }
}

TEST_F(GpioLineTest, OpensTheValueFileOnceForReadingAndWriting)
{
    GpioLine line;

    ASSERT_TRUE(line.init(17, -1));
    EXPECT_EQ(calls.openFlags, std::vector<int>{O_RDWR});
}

TEST_F(GpioLineTest, DoesNotExportALineThatIsExported)
{
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_EQ(readFile(root + "export"), "");
}

TEST_F(GpioLineTest, NeedsNoExportFileForALineThatIsExported)
{
    fs::remove(root + "export");
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_FALSE(fs::exists(root + "export"));
}

TEST_F(GpioLineTest, ExportsALineThatIsNotExported)
{
    for (const std::int32_t number : {17, 0, 512, highest, -5}) {
        SCOPED_TRACE(number);
        emptyDirectory(root);
        writeFile(root + "export", "longer than any number of a line");
        calls.beforeOpen = [number](std::size_t /*attempt*/) { makeLine(number, "1\n"); };
        GpioLine line;

        EXPECT_TRUE(line.init(number, -1));
        EXPECT_EQ(readFile(root + "export"), std::to_string(number));
        EXPECT_EQ(line.readValue(), 1);
    }
}

TEST_F(GpioLineTest, ExportsALineInPlaceOfWhichAPlainFileStands)
{
    fs::remove_all(lineFolder);
    writeFile(lineFolder, "");
    GpioLine line;

    EXPECT_FALSE(line.init(17, -1));
    EXPECT_EQ(readFile(root + "export"), "17");
}

TEST_F(GpioLineTest, DoesNotTryToOpenALineThatCannotBeExported)
{
    struct Row {
        const char* name;
        std::function<void()> prepare;
    };
    const std::vector<Row> rows = {
        {"export is a folder", [] { fs::create_directory(root + "export"); }},
        {"export is read-only",
         [] {
             writeFile(root + "export", "");
             ASSERT_EQ(chmod((root + "export").c_str(), 0444), 0);
         }},
        {"no GPIO files", [] { fs::remove_all(root); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        emptyDirectory(root);
        row.prepare();
        calls.openFlags.clear();
        GpioLine line;

        EXPECT_FALSE(line.init(17, -1));
        EXPECT_EQ(calls.openFlags.size(), 0U);
        EXPECT_EQ(line.currentMode(), 0);
    }
}

// As with a line that a driver holds: EBUSY comes from write(2), at the stream's close.
TEST_F(GpioLineTest, TriesToOpenALineWhoseExportFailsOnlyAtTheClose)
{
    emptyDirectory(root);
    fs::create_symlink("/dev/full", root + "export");
    calls.beforeOpen = [](std::size_t /*attempt*/) { makeLine(17); };
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
}

TEST_F(GpioLineTest, GivesUpAfterElevenAttemptsToOpen)
{
    fs::remove(valueFile);
    const auto start = steady_clock::now();
    GpioLine line;

    EXPECT_FALSE(line.init(17, 0));
    EXPECT_GE(steady_clock::now() - start, 11 * 20ms);
    EXPECT_EQ(calls.openFlags, std::vector<int>(11, O_RDWR));
    EXPECT_EQ(line.currentMode(), 0);
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(readFile(directionFile), "in\n");
}

TEST_F(GpioLineTest, OpensALineThatAppearsBeforeAnyOfTheElevenAttempts)
{
    for (std::size_t appearance = 1; appearance <= 11; ++appearance) {
        SCOPED_TRACE(appearance);
        emptyDirectory(root);
        writeFile(root + "export", "");
        calls.openFlags.clear();
        calls.beforeOpen = [appearance](std::size_t attempt) {
            if (attempt == appearance) {
                makeLine(17, "1\n");
            }
        };
        GpioLine line;

        EXPECT_TRUE(line.init(17, -1));
        EXPECT_EQ(calls.openFlags.size(), appearance);
        EXPECT_EQ(line.readValue(), 1);
        EXPECT_EQ(readFile(root + "export"), "17");
    }
}

TEST_F(GpioLineTest, OpensALineThatBecomesWritableLate)
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

TEST_F(GpioLineTest, WaitsTwentyMillisecondsBeforeEachAttempt)
{
    fs::remove(valueFile);
    GpioLine line;
    auto previous = steady_clock::now();
    calls.beforeOpen = [&previous](std::size_t attempt) {
        SCOPED_TRACE(attempt);
        const auto now = steady_clock::now();
        EXPECT_GE(now - previous, 20ms);
        previous = now;
    };

    EXPECT_FALSE(line.init(17, -1));
}

TEST_F(GpioLineTest, DoesNotTryAgainWhenTheDirectionFails)
{
    replaceByFolder(directionFile);
    GpioLine line;

    EXPECT_FALSE(line.init(17, -1));
    EXPECT_EQ(calls.openFlags.size(), 1U);
}
