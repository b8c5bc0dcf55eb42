// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <sys/time.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/gpio/GpioLineFixture.h"

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;
using std::chrono::system_clock;

namespace {

volatile std::sig_atomic_t alarms = 0;

/// Delivers one signal after this time, and handles it.
class Alarm {
public:
    explicit Alarm(std::chrono::microseconds delay)
    {
        alarms = 0;
        struct sigaction action = {};
        action.sa_handler = [](int) { alarms = alarms + 1; };
        EXPECT_EQ(sigaction(SIGALRM, &action, &before), 0);
        const itimerval timer{{0, 0}, {0, delay.count()}};
        EXPECT_EQ(setitimer(ITIMER_REAL, &timer, nullptr), 0);
    }
    ~Alarm()
    {
        const itimerval none{};
        setitimer(ITIMER_REAL, &none, nullptr);
        sigaction(SIGALRM, &before, nullptr);
    }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

private:
    struct sigaction before = {};
};

struct WriteOperation {
    const char* name;
    std::function<bool(GpioLine& line, std::int32_t level)> run;
};

const std::vector<WriteOperation> writeOperations = {
    {"writeLevel", [](GpioLine& line, std::int32_t level) { return line.writeLevel(level); }},
    {"writeLevelAndToggle",
     [](GpioLine& line, std::int32_t level) { return line.writeLevelAndToggle(level); }},
    {"pulse", [](GpioLine& line, std::int32_t level) { return line.pulse(level); }},
    {"pulseFor", [](GpioLine& line, std::int32_t level) { return line.pulseFor(level, 100ms); }},
    {"playSequence",
     [](GpioLine& line, std::int32_t level) {
         return line.playSequence(level, std::vector<nanoseconds>{100ms, 100ms});
     }},
};

class GpioLineLevel : public GpioLineFixture {};

TEST_F(GpioLineLevel, WritesOneByteForALevel)
{
    struct Row {
        std::int32_t level;
        const char* expectedBytes;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {{0, "0", 0},  {1, "1", 1},      {2, "1", 1},      {5, "1", 1},
                                   {-1, "1", 1}, {lowest, "1", 1}, {highest, "1", 1}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.level);
        GpioLine line;
        openOutput(line);

        EXPECT_TRUE(line.writeLevel(row.level));
        EXPECT_EQ(readFile(valueFile), row.expectedBytes);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
    }
}

TEST_F(GpioLineLevel, DoesNotRewindBeforeAWrite)
{
    writeFile(valueFile, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    ASSERT_EQ(line.readValue(), 1);

    EXPECT_TRUE(line.writeLevel(0));
    EXPECT_TRUE(line.writeLevel(1));
    EXPECT_EQ(readFile(valueFile), "1\n01");
    EXPECT_EQ(line.readValue(), 1);
    EXPECT_TRUE(line.writeLevel(1));
    EXPECT_EQ(readFile(valueFile), "1\n11");
}

TEST_F(GpioLineLevel, WritesALevelAndTogglesTheVariable)
{
    struct Row {
        std::int32_t level;
        const char* expectedBytes;
        std::int32_t expectedLevel;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {{0, "0", 1, 0}, {1, "1", 0, 1},  {2, "1", 1, 1},
                                   {5, "1", 0, 1}, {-1, "1", 0, 1}, {-2, "1", 1, 1}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.level);
        GpioLine line;
        openOutput(line);
        std::int32_t level = row.level;

        EXPECT_TRUE(line.writeLevelAndToggle(level));
        EXPECT_EQ(level, row.expectedLevel);
        EXPECT_EQ(readFile(valueFile), row.expectedBytes);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
    }
}

TEST_F(GpioLineLevel, LeavesTheVariableWhenTheLevelIsNotWritten)
{
    GpioLine line;
    openRefusingOutput(line);
    for (const std::int32_t before : {0, 1, 2, 5}) {
        std::int32_t level = before;

        EXPECT_FALSE(line.writeLevelAndToggle(level));
        EXPECT_EQ(level, before);
    }
}

TEST_F(GpioLineLevel, RemembersTheLevelThatCouldNotBeWritten)
{
    struct Row {
        const char* name;
        bool opened;
    };
    for (const Row& row : {Row{"never opened", false}, Row{"refusing", true}}) {
        SCOPED_TRACE(row.name);
        GpioLine line;
        if (row.opened) {
            openRefusingOutput(line);
        }
        for (const WriteOperation& operation : writeOperations) {
            SCOPED_TRACE(operation.name);
            for (const std::int32_t level : {1, 0, 2, 0, 5}) {
                SCOPED_TRACE(level);

                EXPECT_FALSE(operation.run(line, level));
                EXPECT_EQ(line.lastValue(), level == 0 ? 0 : 1);
            }
        }
        EXPECT_EQ(calls.sleeps.size(), 0U);
    }
}

class GpioLinePulse : public GpioLineFixture {};

// The second level is the complement of the lowest bit, so an even level other than 0 is high both
// times; that is intended.
TEST_F(GpioLinePulse, WritesTheLevelAndTheComplementOfItsLowestBit)
{
    struct Row {
        std::int32_t level;
        const char* expectedBytes;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {{0, "01", 1}, {1, "10", 0},  {2, "11", 1},
                                   {5, "10", 0}, {-1, "10", 0}, {-2, "11", 1}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.level);
        {
            GpioLine line;
            openOutput(line);
            EXPECT_TRUE(line.pulse(row.level));
            EXPECT_EQ(readFile(valueFile), row.expectedBytes);
            EXPECT_EQ(line.lastValue(), row.expectedValue);
            EXPECT_EQ(calls.sleeps.size(), 0U);
        }
        GpioLine line;
        openOutput(line);
        EXPECT_TRUE(line.pulseFor(row.level, 1ns));
        EXPECT_EQ(readFile(valueFile), row.expectedBytes);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
        calls.sleeps.clear();
    }
}

TEST_F(GpioLinePulse, LastsForAtLeastTheDuration)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = [](const timespec* request, timespec* remaining) {
        EXPECT_EQ(readFile(valueFile), "1");
        return Calls::sleepAsAsked(request, remaining);
    };
    const auto start = steady_clock::now();

    EXPECT_TRUE(line.pulseFor(1, 30ms));
    EXPECT_EQ(steady_clock::now() - start, 30ms);
    EXPECT_EQ(readFile(valueFile), "10");
    EXPECT_EQ(calls.sleeps.size(), 1U);
}

TEST_F(GpioLinePulse, SplitsTheDuration)
{
    struct Row {
        nanoseconds duration;
        std::time_t expectedSeconds;
        long expectedNanoseconds;
    };
    const std::vector<Row> rows = {
        {1ns, 0, 1},
        {999'999'999ns, 0, 999'999'999},
        {1s, 1, 0},
        {1s + 1ns, 1, 1},
        {90s + 5ms, 90, 5'000'000},
        {nanoseconds::max(), 9'223'372'036, 854'775'807},
    };
    calls.sleep = [](const timespec* /*request*/, timespec* /*remaining*/) { return 0; };
    GpioLine line;
    openOutput(line);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.duration.count());
        calls.sleeps.clear();

        EXPECT_TRUE(line.pulseFor(1, row.duration));
        ASSERT_EQ(calls.sleeps.size(), 1U);
        EXPECT_EQ(calls.sleeps[0].tv_sec, row.expectedSeconds);
        EXPECT_EQ(calls.sleeps[0].tv_nsec, row.expectedNanoseconds);
    }
}

TEST_F(GpioLinePulse, DoesNotWaitForADurationOf0OrLess)
{
    for (const nanoseconds duration : {nanoseconds(0), nanoseconds(-1), nanoseconds(-90s)}) {
        SCOPED_TRACE(duration.count());
        GpioLine line;
        openOutput(line);

        EXPECT_TRUE(line.pulseFor(1, duration));
        EXPECT_EQ(readFile(valueFile), "10");
        EXPECT_EQ(calls.sleeps.size(), 0U);
    }
}

TEST_F(GpioLinePulse, SleepsForTheRemainingTimeAfterASignal)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = interrupted({7ns});

    EXPECT_TRUE(line.pulseFor(1, 90s));
    ASSERT_EQ(calls.sleeps.size(), 2U);
    EXPECT_EQ(durationOf(calls.sleeps[0]), 90s);
    EXPECT_EQ(durationOf(calls.sleeps[1]), 7ns);
    EXPECT_EQ(readFile(valueFile), "10");
}

// A successful call need not change errno (errno(3)).
TEST_F(GpioLinePulse, SleepsOnceWhenAnEarlierCallWasInterrupted)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = [this](const timespec* /*request*/, timespec* /*remaining*/) {
        errno = calls.sleeps.size() == 1 ? EINTR : 0;
        return 0;
    };

    EXPECT_TRUE(line.pulseFor(1, 90s));
    EXPECT_EQ(calls.sleeps.size(), 1U);
}

TEST_F(GpioLinePulse, EndsEarlyIfTheSleepFails)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = [](const timespec* /*request*/, timespec* /*remaining*/) {
        errno = EINVAL;
        return -1;
    };

    EXPECT_TRUE(line.pulseFor(1, 90s));
    EXPECT_EQ(calls.sleeps.size(), 1U);
    EXPECT_EQ(readFile(valueFile), "10");
    EXPECT_EQ(line.lastValue(), 0);
}

TEST_F(GpioLinePulse, SleepsItsFullTimeThroughASignal)
{
    calls.realTime = true;
    {
        GpioLine line;
        openOutput(line);
        const auto start = steady_clock::now();
        const Alarm alarm(10ms);
        EXPECT_TRUE(line.pulseFor(1, 50ms));
        EXPECT_GE(steady_clock::now() - start, 50ms);
        EXPECT_EQ(alarms, 1);
    }
    GpioLine line;
    openOutput(line);
    const auto start = system_clock::now();
    const Alarm alarm(10ms);
    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{30ms, 20ms}));
    EXPECT_GE(system_clock::now() - start, 50ms);
    EXPECT_EQ(alarms, 1);
}

TEST_F(GpioLinePulse, FailsIfTheSecondLevelIsNotWritten)
{
    for (const nanoseconds duration : {nanoseconds(0), nanoseconds(1)}) {
        SCOPED_TRACE(duration.count());
        for (const std::int32_t level : {0, 1}) {
            SCOPED_TRACE(level);
            GpioLine line;
            openOutput(line);
            {
                const FileSizeLimit limit(1);
                EXPECT_FALSE(duration == 0ns ? line.pulse(level) : line.pulseFor(level, duration));
            }
            EXPECT_EQ(readFile(valueFile), std::to_string(level));
            EXPECT_EQ(line.lastValue(), 1 - level);
        }
    }
}

}  // namespace
