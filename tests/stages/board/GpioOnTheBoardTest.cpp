// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// GpioLine on the kernel's own files and the emulated board, whose pins the host drives and
// watches; see stage.py.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "gpio/GpioFile.h"
#include "gpio/GpioLine.h"
#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;

namespace {

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;

using Levels = std::vector<std::int32_t>;

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

const std::string root = gpioRoot;
const std::string lineDirectory = root + "gpio17";
const std::string valueFile = lineDirectory + "/value";
const std::string directionFile = lineDirectory + "/direction";
const std::string edgeFile = lineDirectory + "/edge";

/// Writes the text to the kernel's file, which must accept it.
void set(const std::string& path, const std::string& text)
{
    const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(write(file, text.data(), text.size()), static_cast<ssize_t>(text.size())) << path;
    close(file);
}

/// Makes the line an input without edges that is not exported.
void takeBackExport()
{
    if (fs::exists(lineDirectory)) {
        set(edgeFile, "none");
        set(directionFile, "in");
        set(root + "unexport", "17");
    }
}

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

    /// The levels of these changes, which must all be of line 17.
    Levels levels()
    {
        Levels levels;
        for (const Change& change : changes()) {
            EXPECT_EQ(change.line, 17);
            levels.push_back(change.level);
        }
        return levels;
    }

    /// By the chip's register of directions.
    bool isOutput()
    {
        const std::string answer = ask("readl 0x30200004");
        EXPECT_EQ(answer.substr(0, 3), "OK ");
        return (std::stoul(answer.substr(3), nullptr, 16) >> 17U & 1U) != 0;
    }

private:
    std::string ask(const std::string& question)
    {
        out << "@ask " << question << std::endl;
        std::string answer;
        while (std::getline(in, answer) && !answer.starts_with('=')) {
        }
        return answer.substr(std::min<std::size_t>(answer.size(), 1));
    }

    std::ofstream out{"/dev/console"};
    std::ifstream in{"/dev/console"};
};

Outside& outside()
{
    static Outside only;
    return only;
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
        showLow();
        outside().drive(0);
    }
    ~GpioOnTheBoard() override { takeBackExport(); }

    /// Leaves the line unexported. The pin keeps what it showed last when the line becomes an
    /// input; this makes that low.
    static void showLow()
    {
        takeBackExport();
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

// Directions

// Of a line that is not exported, of one that is, and of one that is open. The pin keeps what it
// showed last, high for "high in" and low for "low in", when the line becomes an input.
TEST_F(GpioOnTheBoard, MakesALineWhatIsRequestedWithoutAGlitch)
{
    struct Row {
        const char* before;  ///< what was written to the direction; empty if it is not exported
        std::int32_t driven;
        std::int32_t request;
        std::int32_t expected;  ///< the level
    };
    const std::vector<Row> rows = {
        {"", 1, -1, 1},       {"", 1, lowest, 1},     {"", 1, 0, 0},
        {"", 1, 1, 1},        {"", 0, 2, 1},          {"low in", 1, -1, 1},
        {"low in", 1, 0, 0},  {"low in", 0, 1, 1},    {"low in", 0, highest, 1},
        {"high in", 0, 0, 0}, {"high in", 0, 1, 1},   {"high in", 0, 2, 1},
        {"low", 1, -1, 1},    {"low", 1, 0, 0},       {"low", 1, 1, 1},
        {"low", 1, 2, 0},     {"low", 1, highest, 0}, {"high", 0, -1, 0},
        {"high", 0, 0, 0},    {"high", 0, 1, 1},      {"high", 0, highest, 1},
    };
    for (const Row& row : rows) {
        const std::string before = row.before;
        const bool isOutput = row.request >= 0;
        const std::int32_t shown = before.starts_with("high") ? 1 : 0;
        for (const bool open : {false, true}) {
            if (before.empty() && open) {
                continue;
            }
            SCOPED_TRACE(before + " to " + std::to_string(row.request) + (open ? ", open" : ""));
            showLow();
            outside().drive(row.driven);
            GpioLine line;
            if (!before.empty()) {
                set(root + "export", "17");
                ASSERT_TRUE(!open || line.init(17, -1));
            }
            std::istringstream words(before);
            for (std::string word; words >> word;) {
                set(directionFile, word);
            }
            outside().changes();

            EXPECT_TRUE(open ? line.setDirection(17, row.request) : line.init(17, row.request));
            EXPECT_EQ(outside().levels(),
                      isOutput && row.expected != shown ? Levels{row.expected} : Levels{});
            EXPECT_EQ(outside().isOutput(), isOutput);
            EXPECT_EQ(readFile(directionFile), isOutput ? "out\n" : "in\n");
            EXPECT_EQ(line.currentMode(), isOutput && !open ? 1 : -1);
            EXPECT_EQ(line.lastValue(), row.expected);
            EXPECT_EQ(line.readValue(), row.expected);
        }
    }
}

// The kernel refuses the export with EINVAL, when the stream is closed and nobody checks.
TEST_F(GpioOnTheBoard, DoesNotOpenALineOfNoChip)
{
    for (const std::int32_t number : {400, highest, -1, lowest}) {
        SCOPED_TRACE(number);
        const std::vector<std::string> before = namesIn(root);
        const auto start = steady_clock::now();
        GpioLine line;

        EXPECT_FALSE(line.init(number, 0));
        EXPECT_GE(steady_clock::now() - start, 11 * 20ms);
        EXPECT_EQ(namesIn(root), before);
        EXPECT_EQ(line.readValue(), -1);
    }
}

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
    EXPECT_EQ(outside().levels(), Levels{});
}

// The kernel refuses with EPERM.
TEST_F(GpioOnTheBoard, WritesNoLevelToAnInput)
{
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
    EXPECT_EQ(outside().levels(), Levels{});
    EXPECT_EQ(line.readValue(), 0);
}

// The kernel refuses with ENODEV.
TEST_F(GpioOnTheBoard, NeitherReadsNorWritesALineThatAnotherUserUnexported)
{
    GpioLine line;
    openOutput(line, 1);
    set(root + "unexport", "17");

    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(line.lastValue(), 1);
    EXPECT_FALSE(line.writeLevel(0));
    EXPECT_FALSE(line.setDirection(17, 0));
    EXPECT_FALSE(line.setEdge(0));
    EXPECT_EQ(outside().levels(), Levels{});
    line.release();
    EXPECT_TRUE(line.init(17, -1));
}

TEST_F(GpioOnTheBoard, DrivesTheLevelThatIsWritten)
{
    GpioLine line;
    openOutput(line, 0);
    std::int32_t before = 0;
    for (const std::int32_t level : {0, 1, 0, 2, 0, 5, 1, 0, -1, 0, lowest, 0, highest, 0}) {
        SCOPED_TRACE(level);
        const std::int32_t expected = level == 0 ? 0 : 1;

        EXPECT_TRUE(line.writeLevel(level));
        EXPECT_EQ(outside().levels(), expected == before ? Levels{} : Levels{expected});
        EXPECT_EQ(line.lastValue(), expected);
        EXPECT_EQ(line.readValue(), expected);
        EXPECT_EQ(readFile(valueFile), std::to_string(expected) + "\n");
        before = expected;
    }
}

// Each level is followed by the complement of its lowest bit, which for 2 is high as well.
TEST_F(GpioOnTheBoard, TogglesAVariableAndPulses)
{
    struct Row {
        std::int32_t level;
        Levels expected;
        std::int32_t expectedVariable;
    };
    const std::vector<Row> rows = {{0, {0, 1}, 1}, {1, {1, 0}, 0},  {2, {1}, 1},
                                   {5, {1, 0}, 0}, {-1, {1, 0}, 0}, {-2, {1}, 1}};
    GpioLine line;
    openOutput(line, 0);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.level);
        const auto start = [&] {
            ASSERT_TRUE(line.writeLevel(1 - row.expected[0]));
            outside().changes();
        };
        start();
        std::int32_t variable = row.level;
        EXPECT_TRUE(line.writeLevelAndToggle(variable));
        EXPECT_EQ(variable, row.expectedVariable);
        EXPECT_EQ(outside().levels(), Levels{row.expected[0]});

        start();
        EXPECT_TRUE(line.pulse(row.level));
        EXPECT_EQ(outside().levels(), row.expected);

        start();
        EXPECT_TRUE(line.pulseFor(row.level, 40ms));
        const Changes changes = outside().changes();
        ASSERT_EQ(changes.size(), row.expected.size());
        EXPECT_TRUE(changes.size() == 1 || changes[1].time - changes[0].time >= 40ms);
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
        nanoseconds sum = 0ns;
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(changes[i + 1].line, 17);
            EXPECT_EQ(changes[i + 1].level, row.expected[i]);
            sum += durations[i];
            EXPECT_GE(changes[i + 2].time - changes[0].time, sum);
        }
    }
    marker.release();
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

// close and release

TEST_F(GpioOnTheBoard, LeavesTheLineAsItIsAndUnexportsItOnlyWhenReleased)
{
    for (const std::int32_t request : {-1, 0, 1}) {
        SCOPED_TRACE(request);
        showLow();
        const std::vector<std::string> before = namesIn(root);
        const std::int32_t keep = request < 0 ? -1 : 2;
        const auto expectUnchanged = [&](const Levels& levels) {
            EXPECT_EQ(outside().levels(), levels);
            EXPECT_EQ(outside().isOutput(), request >= 0);
        };
        {
            GpioLine line;
            ASSERT_TRUE(line.init(17, request));
        }
        expectUnchanged(request == 1 ? Levels{1} : Levels{});
        EXPECT_EQ(readFile(directionFile), request < 0 ? "in\n" : "out\n");

        GpioLine line;
        ASSERT_TRUE(line.init(17, keep));
        line.close();
        expectUnchanged({});
        EXPECT_TRUE(fs::exists(lineDirectory));
        EXPECT_EQ(line.readValue(), -1);
        EXPECT_FALSE(line.setEdge(0));
        EXPECT_EQ(readFile(edgeFile), "none\n");

        ASSERT_TRUE(line.init(17, keep));
        line.release();
        expectUnchanged({});
        EXPECT_EQ(namesIn(root), before);
        EXPECT_EQ(line.readValue(), -1);
        line.release();
        EXPECT_EQ(namesIn(root), before);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
