// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// GpioLine on the emulated board, whose pins the host drives and watches; see board.py.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <limits>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "gpio/GpioLine.h"
#include "tests/appliance/Files.h"
#include "tests/stages/machine/KernelLine.h"

using namespace std::chrono_literals;

namespace {

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

using Levels = std::vector<std::int32_t>;

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

/// What an output did, and when, by the clock of the host.
struct Change {
    std::int32_t line;
    std::int32_t level;
    duration<double> time;
};
using Changes = std::vector<Change>;

/// The world outside of the board. Questions and answers are lines of the console.
class Outside {
public:
    std::string ask(const std::string& question)
    {
        out << "@ask " << question << std::endl;
        std::string answer;
        while (std::getline(in, answer) && !answer.starts_with('=')) {
        }
        return answer.substr(std::min<std::size_t>(answer.size(), 1));
    }

    void drive(std::int32_t level) { EXPECT_EQ(ask("drive 17 " + std::to_string(level)), "OK"); }

    /// The changes of outputs since the last time.
    Changes changes()
    {
        Changes found;
        std::istringstream answer(ask("pins"));
        Change change{};
        char separator = 0;
        double time = 0;
        while (answer >> change.line >> separator >> change.level >> separator >> time) {
            change.time = duration<double>(time);
            found.push_back(change);
        }
        return found;
    }

    /// Gives line 17 a level in the chip that shows once the line is an output.
    void hold(std::int32_t level)
    {
        const unsigned long others = word("0x30200000") & ~bit;
        EXPECT_EQ(ask("writel 0x30200000 " + std::to_string(level != 0 ? others | bit : others)),
                  "OK");
    }

    bool isOutput() { return (word("0x30200004") & bit) != 0; }

private:
    static constexpr unsigned long bit = 1UL << 17U;

    /// A register of the chip.
    unsigned long word(const std::string& address)
    {
        const std::string answer = ask("readl " + address);
        EXPECT_EQ(answer.substr(0, 3), "OK ");
        return std::stoul(answer.substr(3), nullptr, 16);
    }

    std::ofstream out{"/dev/console"};
    std::ifstream in{"/dev/console"};
};

Outside& outside()
{
    static Outside only;
    return only;
}

/// The levels of changes that are all of line 17.
Levels levelsOf(const Changes& changes)
{
    Levels levels;
    for (const Change& change : changes) {
        EXPECT_EQ(change.line, 17);
        levels.push_back(change.level);
    }
    return levels;
}

/// Waits for edges of line 17.
class Waiter {
public:
    Waiter() : file(open(valueFile.c_str(), O_RDONLY | O_CLOEXEC)) { read(); }
    ~Waiter() { close(file); }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    bool wakes(milliseconds timeout) const
    {
        pollfd waited{file, POLLPRI | POLLERR, 0};
        return poll(&waited, 1, static_cast<int>(timeout.count())) == 1;
    }

    std::string read() const
    {
        char text[8] = {};
        const ssize_t count = pread(file, text, sizeof text, 0);
        return {text, static_cast<std::size_t>(count > 0 ? count : 0)};
    }

private:
    int file;
};

class GpioOnTheBoard : public testing::Test {
protected:
    GpioOnTheBoard()
    {
        takeBackExport();
        outside().drive(0);
        showLow();
    }
    ~GpioOnTheBoard() override { takeBackExport(); }

    /// The pin keeps what it showed last when the line becomes an input; this makes that low.
    static void showLow()
    {
        set(root + "export", "17");
        set(directionFile, "low");
        takeBackExport();
        outside().changes();
    }

    /// Opens line 17 as an output of this level, which is on the pin by now.
    static void openOutput(GpioLine& line, std::int32_t level)
    {
        ASSERT_TRUE(line.init(17, level));
        outside().changes();
    }
};

// Levels

TEST_F(GpioOnTheBoard, ReadsTheLevelThatIsDriven)
{
    for (const std::int32_t before : {0, 1}) {
        SCOPED_TRACE(before);
        takeBackExport();
        outside().drive(1 - before);
        set(root + "export", "17");
        outside().drive(before);
        GpioLine line;
        ASSERT_TRUE(line.init(17, -1));
        EXPECT_EQ(line.lastValue(), before);
        for (const std::int32_t level : {before, 1 - before, before, 0, 1, 1, 0}) {
            outside().drive(level);

            EXPECT_EQ(line.readValue(), level);
            EXPECT_EQ(line.lastValue(), level);
            EXPECT_EQ(readFile(valueFile), std::to_string(level) + "\n");
        }
    }
    EXPECT_EQ(levelsOf(outside().changes()), Levels{});
}

// Edges

TEST_F(GpioOnTheBoard, WakesForTheEdgesThatWereAskedFor)
{
    struct Row {
        std::int32_t request;
        const char* expected;
        bool falling;
        bool rising;
    };
    const std::vector<Row> rows = {{-1, "falling\n", true, false},
                                   {0, "both\n", true, true},
                                   {1, "rising\n", false, true},
                                   {lowest, "falling\n", true, false},
                                   {highest, "rising\n", false, true}};
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.request);
        ASSERT_TRUE(line.setEdge(row.request));
        EXPECT_EQ(readFile(edgeFile), row.expected);
        const Waiter waiter;
        for (const std::int32_t level : {1, 0, 1, 1, 0, 0}) {
            const bool changes = waiter.read() != std::to_string(level) + "\n";
            const bool expected = changes && (level == 1 ? row.rising : row.falling);
            outside().drive(level);

            ASSERT_EQ(waiter.wakes(expected ? 10s : 300ms), expected) << "driven to " << level;
            EXPECT_EQ(waiter.read(), std::to_string(level) + "\n");
            EXPECT_FALSE(waiter.wakes(20ms)) << "once more for " << level;
        }
        EXPECT_TRUE(line.disableEdge());
        EXPECT_EQ(readFile(edgeFile), "none\n");
        waiter.read();
        for (const std::int32_t level : {1, 0}) {
            outside().drive(level);

            EXPECT_FALSE(waiter.wakes(300ms)) << "without edges, driven to " << level;
            EXPECT_EQ(waiter.read(), std::to_string(level) + "\n");
        }
    }
}

// Outputs

TEST_F(GpioOnTheBoard, DrivesTheLevelThatIsWritten)
{
    GpioLine line;
    openOutput(line, 0);
    std::int32_t before = 0;
    for (const std::int32_t level : {0, 1, 0, 2, 0, 5, 1, 0, -1, 0, lowest, 0, highest, 0}) {
        SCOPED_TRACE(level);
        const std::int32_t expected = level == 0 ? 0 : 1;

        EXPECT_TRUE(line.writeLevel(level));
        EXPECT_EQ(levelsOf(outside().changes()), expected == before ? Levels{} : Levels{expected});
        EXPECT_EQ(line.lastValue(), expected);
        EXPECT_EQ(line.readValue(), expected);
        EXPECT_EQ(readFile(valueFile), std::to_string(expected) + "\n");
        before = expected;
    }
}

TEST_F(GpioOnTheBoard, DrivesALevelAndTogglesTheVariable)
{
    struct Row {
        std::int32_t level;
        std::int32_t expectedLevel;
        std::int32_t expectedVariable;
    };
    const std::vector<Row> rows = {{1, 1, 0}, {0, 0, 1},  {2, 1, 1},
                                   {5, 1, 0}, {-1, 1, 0}, {-2, 1, 1}};
    GpioLine line;
    openOutput(line, 0);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.level);
        ASSERT_TRUE(line.writeLevel(1 - row.expectedLevel));
        outside().changes();
        std::int32_t variable = row.level;

        EXPECT_TRUE(line.writeLevelAndToggle(variable));
        EXPECT_EQ(variable, row.expectedVariable);
        EXPECT_EQ(levelsOf(outside().changes()), Levels{row.expectedLevel});
    }
}

TEST_F(GpioOnTheBoard, Pulses)
{
    struct Row {
        std::int32_t level;
        Levels expected;
    };
    // Each level is followed by the complement of its lowest bit, which for 2 is high as well.
    const std::vector<Row> rows = {{0, {0, 1}}, {1, {1, 0}},  {2, {1}},
                                   {5, {1, 0}}, {-1, {1, 0}}, {-2, {1}}};
    GpioLine line;
    openOutput(line, 0);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.level);
        for (const nanoseconds duration : {0ms, 40ms}) {
            ASSERT_TRUE(line.writeLevel(1 - row.expected[0]));
            outside().changes();

            EXPECT_TRUE(duration == 0ms ? line.pulse(row.level)
                                        : line.pulseFor(row.level, duration));
            const Changes changes = outside().changes();
            ASSERT_EQ(levelsOf(changes), row.expected);
            if (changes.size() > 1) {
                EXPECT_GE(changes[1].time - changes[0].time, duration);
            }
        }
    }
}

// The first change of line 18 comes before the sequence begins, its second after the end.
TEST_F(GpioOnTheBoard, PlaysASequence)
{
    struct Row {
        std::int32_t level;
        Levels expected;
    };
    const std::vector<Row> rows = {{0, {}},  {0, {0, 1, 0}},       {1, {1, 0, 1, 0}}, {2, {1, 0}},
                                   {2, {1}}, {5, {1, 0, 1, 0, 1}}, {-1, {1, 0, 1}}};
    const std::vector<nanoseconds> durations = {30ms, 10ms, 50ms, 20ms, 10ms};
    GpioLine marker;
    ASSERT_TRUE(marker.init(18, 0));
    GpioLine line;
    openOutput(line, 0);
    for (const Row& row : rows) {
        const std::size_t count = row.expected.size();
        SCOPED_TRACE(std::to_string(row.level) + " for " + std::to_string(count));
        ASSERT_TRUE(line.writeLevel(row.level == 0 ? 1 : 0));
        outside().changes();

        EXPECT_TRUE(marker.writeLevel(1));
        EXPECT_TRUE(line.playSequence(row.level, std::span(durations).first(count)));
        EXPECT_TRUE(marker.writeLevel(0));
        const Changes changes = outside().changes();
        ASSERT_EQ(changes.size(), count + 2);
        EXPECT_EQ(changes.front().line, 18);
        EXPECT_EQ(changes.back().line, 18);
        EXPECT_EQ(levelsOf({changes.begin() + 1, changes.end() - 1}), row.expected);
        nanoseconds sum = 0ns;
        for (std::size_t i = 0; i < count; ++i) {
            sum += durations[i];
            EXPECT_GE(changes[i + 2].time - changes[0].time, sum);
        }
    }
    marker.release();
}

TEST_F(GpioOnTheBoard, StartsAnOutputWithoutAGlitch)
{
    for (const std::int32_t held : {0, 1}) {
        for (const std::int32_t request : {0, 1, 2}) {
            SCOPED_TRACE(std::to_string(held) + " to " + std::to_string(request));
            GpioLine line;
            openOutput(line, 0);
            set(directionFile, "in");
            outside().hold(held);
            EXPECT_EQ(levelsOf(outside().changes()), Levels{});

            EXPECT_TRUE(line.setDirection(17, request));
            EXPECT_EQ(levelsOf(outside().changes()), request == 0 ? Levels{} : Levels{1});
            EXPECT_TRUE(outside().isOutput());
        }
    }
}

TEST_F(GpioOnTheBoard, KeepsTheLevelOfAnOutput)
{
    for (const std::int32_t level : {0, 1}) {
        SCOPED_TRACE(level);
        GpioLine line;
        openOutput(line, level);

        EXPECT_TRUE(line.setDirection(17, level));
        EXPECT_TRUE(line.setDirection(17, 2));
        EXPECT_EQ(levelsOf(outside().changes()), Levels{});
        EXPECT_TRUE(outside().isOutput());
        takeBackExport();
    }
}

TEST_F(GpioOnTheBoard, MakesAnOutputThatWasLeftHighAnInput)
{
    {
        GpioLine line;
        ASSERT_TRUE(line.init(17, 1));
    }
    EXPECT_EQ(levelsOf(outside().changes()), Levels{1});
    ASSERT_TRUE(outside().isOutput());
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_FALSE(outside().isOutput());
    EXPECT_EQ(line.readValue(), 0);
    outside().drive(1);
    EXPECT_EQ(line.readValue(), 1);
    EXPECT_EQ(levelsOf(outside().changes()), Levels{});
}

}  // namespace
