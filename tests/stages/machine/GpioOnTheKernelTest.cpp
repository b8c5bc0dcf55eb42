// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// GpioLine on the kernel's own files, in the emulated machine. The tests read its effects from the
// registers of the chip, which are a page of memory there (gpio-chip.dtsi).

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "gpio/GpioLine.h"
#include "tests/appliance/Files.h"
#include "tests/stages/machine/HeldLine.h"
#include "tests/stages/machine/KernelLine.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;

namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

/// Line 17 in the chip's registers (the driver is drivers/gpio/gpio-mxc.c of the kernel).
class Registers {
public:
    Registers()
    {
        const int memory = open("/dev/mem", O_RDWR | O_SYNC | O_CLOEXEC);
        void* const page =
            mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0x4f000000);
        close(memory);
        if (page == MAP_FAILED) {
            std::perror("/dev/mem");
            std::abort();
        }
        words = static_cast<volatile std::uint32_t*>(page);
    }

    /// The level that the chip drives as an output.
    [[nodiscard]] std::int32_t level() const { return bit(0); }
    void setLevel(std::int32_t level) { setBit(0, level); }

    [[nodiscard]] bool isOutput() const { return bit(1) != 0; }

    /// The level at the input.
    void setInput(std::int32_t level) { setBit(2, level); }

private:
    static constexpr std::uint32_t mask = 1U << 17U;

    [[nodiscard]] std::int32_t bit(std::size_t word) const
    {
        return (words[word] & mask) != 0 ? 1 : 0;
    }
    void setBit(std::size_t word, std::int32_t on)
    {
        words[word] = on != 0 ? words[word] | mask : words[word] & ~mask;
    }

    volatile std::uint32_t* words;
};

Registers& registers()
{
    static Registers all;
    return all;
}

/// The chip that has line 17.
std::string chip()
{
    for (const std::string& name : namesIn("/sys/devices/platform/4f000000.gpio")) {
        if (name.starts_with("gpiochip")) {
            return "/dev/" + name;
        }
    }
    return "(none)";
}

class GpioOnTheKernel : public testing::Test {
protected:
    GpioOnTheKernel()
    {
        takeBackExport();
        registers().setInput(0);
        registers().setLevel(0);
    }

    ~GpioOnTheKernel() override { takeBackExport(); }
};

// init

TEST_F(GpioOnTheKernel, ExportsALineAndOpensItAsRequested)
{
    struct Row {
        std::int32_t request;
        const char* expectedDirection;
        std::int32_t expectedMode;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {
        {-1, "in\n", -1, 1}, {lowest, "in\n", -1, 1}, {0, "out\n", 1, 0},
        {1, "out\n", 1, 1},  {2, "out\n", 1, 1},      {highest, "out\n", 1, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.request);
        takeBackExport();
        registers().setInput(1);
        GpioLine line;

        EXPECT_TRUE(line.init(17, row.request));
        EXPECT_EQ(readFile(directionFile), row.expectedDirection);
        EXPECT_EQ(registers().isOutput(), row.expectedMode == 1);
        EXPECT_EQ(line.currentMode(), row.expectedMode);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
        EXPECT_EQ(line.readValue(), row.expectedValue);
        if (row.expectedMode == 1) {
            EXPECT_EQ(registers().level(), row.expectedValue);
        }
    }
}

TEST_F(GpioOnTheKernel, ReturnsAtOnceIfTheLineIsOpenAlready)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));

    EXPECT_TRUE(line.init(17, 1));
    EXPECT_FALSE(registers().isOutput());
    EXPECT_EQ(line.currentMode(), -1);
}

TEST_F(GpioOnTheKernel, LeavesALineExportedAndAsItWasWhenDestroyed)
{
    {
        GpioLine line;
        ASSERT_TRUE(line.init(17, 1));
    }
    EXPECT_EQ(readFile(directionFile), "out\n");
    EXPECT_EQ(readFile(valueFile), "1\n");
    EXPECT_TRUE(registers().isOutput());
    EXPECT_EQ(registers().level(), 1);
}

TEST_F(GpioOnTheKernel, SwitchesToAnotherLine)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, 1));

    EXPECT_TRUE(line.init(20, -1));
    EXPECT_EQ(line.readValue(), 0);
    EXPECT_EQ(registers().level(), 1);
    EXPECT_EQ(readFile(directionFile), "out\n");
    line.release();
    EXPECT_FALSE(fs::exists(root + "gpio20"));
    EXPECT_TRUE(fs::exists(lineFolder));
}

// write(2) on export fails with EBUSY, when the stream is closed and nobody checks.
TEST_F(GpioOnTheKernel, FailsOnALineOfAnotherUser)
{
    const int held = holdLine(chip().c_str(), 17);
    ASSERT_GE(held, 0);
    const auto start = steady_clock::now();
    GpioLine line;

    EXPECT_FALSE(line.init(17, -1));
    EXPECT_GE(steady_clock::now() - start, 11 * 20ms);
    EXPECT_FALSE(fs::exists(lineFolder));
    EXPECT_EQ(line.currentMode(), 0);
    close(held);
    EXPECT_TRUE(line.init(17, -1));
}

// Likewise EINVAL.
TEST_F(GpioOnTheKernel, FailsOnALineThatNoChipHas)
{
    for (const std::int32_t number : {400, highest, -1, lowest}) {
        SCOPED_TRACE(number);
        const auto start = steady_clock::now();
        GpioLine line;

        EXPECT_FALSE(line.init(number, 0));
        EXPECT_GE(steady_clock::now() - start, 11 * 20ms);
        EXPECT_EQ(line.readValue(), -1);
    }
}

// Levels

// The kernel refuses with EPERM.
TEST_F(GpioOnTheKernel, WritesNoLevelToAnInput)
{
    registers().setInput(0);
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    std::int32_t variable = 5;

    EXPECT_FALSE(line.writeLevel(1));
    EXPECT_EQ(line.lastValue(), 1);
    EXPECT_FALSE(line.writeLevelAndToggle(variable));
    EXPECT_EQ(variable, 5);
    EXPECT_FALSE(line.pulse(1));
    EXPECT_FALSE(line.pulseFor(1, 90s));
    EXPECT_FALSE(line.playSequence(1, std::vector<nanoseconds>{90s}));
    EXPECT_EQ(registers().level(), 0);
    EXPECT_EQ(line.readValue(), 0);
}

// The kernel refuses with ENODEV.
TEST_F(GpioOnTheKernel, NeitherReadsNorWritesALineThatAnotherUserUnexported)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, 1));
    set(root + "unexport", "17");

    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(line.lastValue(), 1);
    EXPECT_FALSE(line.writeLevel(0));
    EXPECT_EQ(registers().level(), 1);
    EXPECT_FALSE(line.setDirection(17, 0));
    EXPECT_FALSE(line.setEdge(0));
    line.release();
    EXPECT_TRUE(line.init(17, -1));
}

// Directions

// Of the line that is open, and of one that is exported when it is opened.
TEST_F(GpioOnTheKernel, SetsTheDirection)
{
    struct Row {
        const char* before;
        std::int32_t request;
        const char* expectedDirection;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {
        {"in", -1, "in\n", 1},         {"in", 0, "out\n", 0},       {"in", 1, "out\n", 1},
        {"in", 2, "out\n", 1},         {"in", highest, "out\n", 1}, {"low", -1, "in\n", 1},
        {"low", 0, "out\n", 0},        {"low", 1, "out\n", 1},      {"low", 2, "out\n", 0},
        {"low", highest, "out\n", 0},  {"high", -1, "in\n", 0},     {"high", lowest, "in\n", 0},
        {"high", 0, "out\n", 0},       {"high", 1, "out\n", 1},     {"high", 2, "out\n", 1},
        {"high", highest, "out\n", 1},
    };
    set(root + "export", "17");
    for (const Row& row : rows) {
        registers().setInput(std::string(row.before) == "high" ? 0 : 1);
        for (const bool open : {false, true}) {
            SCOPED_TRACE(std::string(row.before) + " to " + std::to_string(row.request) +
                         (open ? ", open" : ""));
            GpioLine line;
            ASSERT_TRUE(!open || line.init(17, -1));
            set(directionFile, row.before);

            EXPECT_TRUE(open ? line.setDirection(17, row.request) : line.init(17, row.request));
            EXPECT_EQ(readFile(directionFile), row.expectedDirection);
            EXPECT_EQ(registers().isOutput(), row.request >= 0);
            EXPECT_EQ(line.lastValue(), row.expectedValue);
            EXPECT_EQ(line.readValue(), row.expectedValue);
            if (row.request >= 0) {
                EXPECT_EQ(registers().level(), row.expectedValue);
            }
        }
    }
}

// Edges

TEST_F(GpioOnTheKernel, CannotSelectTheEdgeWithoutALine)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    line.close();

    EXPECT_FALSE(line.setEdge(0));
    EXPECT_FALSE(line.disableEdge());
    EXPECT_EQ(readFile(edgeFile), "none\n");
}

TEST_F(GpioOnTheKernel, CannotCreateAnAttribute)
{
    set(root + "export", "17");

    EXPECT_FALSE(writeGpioAttribute(17, "missing", "1"));
}

// close and release

TEST_F(GpioOnTheKernel, LeavesTheLineExportedWhenClosed)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, 1));

    line.close();
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(readFile(directionFile), "out\n");
    EXPECT_EQ(registers().level(), 1);
}

TEST_F(GpioOnTheKernel, UnexportsTheLineWhenReleased)
{
    for (const std::int32_t request : {-1, 0, 1}) {
        SCOPED_TRACE(request);
        const std::vector<std::string> before = namesIn(root);
        GpioLine line;
        ASSERT_TRUE(line.init(17, request));
        ASSERT_TRUE(fs::exists(lineFolder));

        line.release();
        EXPECT_EQ(namesIn(root), before);
        EXPECT_EQ(line.currentMode(), 0);
        EXPECT_EQ(line.readValue(), -1);
        EXPECT_EQ(registers().isOutput(), request >= 0);
        line.release();
        EXPECT_EQ(namesIn(root), before);
    }
}

}  // namespace
