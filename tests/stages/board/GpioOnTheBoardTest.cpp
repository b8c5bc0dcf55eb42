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
        bool falling;
        bool rising;
    };
    const std::vector<Row> rows = {{-1, true, false}, {0, true, true}, {1, false, true}};
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.request);
        ASSERT_TRUE(line.setEdge(row.request));
        const Waiter waiter;
        for (const std::int32_t level : {1, 0, 1, 1, 0, 0}) {
            const bool changes = waiter.read() != std::to_string(level) + "\n";
            const bool expected = changes && (level == 1 ? row.rising : row.falling);
            outside().drive(level);

            EXPECT_EQ(waiter.wakes(expected ? 30s : 300ms), expected) << "driven to " << level;
            EXPECT_EQ(waiter.read(), std::to_string(level) + "\n");
            EXPECT_FALSE(waiter.wakes(20ms)) << "once more for " << level;
        }
        EXPECT_TRUE(line.disableEdge());
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
    std::int32_t variable = 1;

    EXPECT_TRUE(line.writeLevel(1));
    EXPECT_TRUE(line.writeLevel(5));
    EXPECT_TRUE(line.writeLevel(0));
    EXPECT_EQ(levelsOf(outside().changes()), (Levels{1, 0}));
    EXPECT_TRUE(line.writeLevelAndToggle(variable));
    EXPECT_TRUE(line.writeLevelAndToggle(variable));
    EXPECT_EQ(levelsOf(outside().changes()), (Levels{1, 0}));
}

TEST_F(GpioOnTheBoard, Pulses)
{
    struct Row {
        std::int32_t level;
        Levels expected;
    };
    // 2 is followed by the complement of its lowest bit, which is 1 as well.
    for (const Row& row : {Row{0, {0, 1}}, Row{1, {1, 0}}, Row{2, {1}}, Row{5, {1, 0}}}) {
        SCOPED_TRACE(row.level);
        GpioLine line;
        openOutput(line, 1 - row.expected[0]);
        EXPECT_TRUE(line.pulse(row.level));
        EXPECT_EQ(levelsOf(outside().changes()), row.expected);

        ASSERT_TRUE(line.writeLevel(1 - row.expected[0]));
        outside().changes();
        EXPECT_TRUE(line.pulseFor(row.level, 40ms));
        const Changes changes = outside().changes();
        ASSERT_EQ(levelsOf(changes), row.expected);
        EXPECT_GE(changes.back().time - changes.front().time, changes.size() > 1 ? 40ms : 0ms);
        takeBackExport();
    }
}

// The first change of line 18 comes before the sequence begins, its second after the end.
TEST_F(GpioOnTheBoard, PlaysASequence)
{
    const std::vector<nanoseconds> durations = {30ms, 10ms, 50ms, 20ms};
    GpioLine marker;
    ASSERT_TRUE(marker.init(18, 0));
    for (const std::int32_t level : {0, 1, 2}) {
        SCOPED_TRACE(level);
        GpioLine line;
        openOutput(line, level == 0 ? 1 : 0);

        EXPECT_TRUE(marker.writeLevel(1));
        EXPECT_TRUE(line.playSequence(level, durations));
        EXPECT_TRUE(marker.writeLevel(0));
        const Changes changes = outside().changes();
        ASSERT_EQ(changes.size(), durations.size() + 2);
        EXPECT_EQ(changes.front().line, 18);
        nanoseconds sum = 0ns;
        for (std::size_t i = 1; i < changes.size(); ++i) {
            const bool last = i > durations.size();
            EXPECT_EQ(changes[i].line, last ? 18 : 17);
            EXPECT_EQ(changes[i].level, last ? 0 : (level != 0) == (i % 2 != 0) ? 1 : 0);
            EXPECT_GE(changes[i].time - changes[0].time, sum);
            sum += last ? 0ns : durations[i - 1];
        }
        takeBackExport();
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
