// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/gpio/GpioLineFixture.h"

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using std::chrono::system_clock;

namespace {

class GpioLineSequence : public GpioLineFixture {};

// After any level but 0 the next one is 0, unlike with a pulse; that is intended.
TEST_F(GpioLineSequence, PlaysTheLevelAndItsNegationInTurn)
{
    struct Row {
        std::int32_t level;
        std::size_t durations;
        const char* expectedBytes;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {{0, 1, "0", 0},     {1, 1, "1", 1},    {0, 3, "010", 0},
                                   {1, 4, "1010", 0},  {2, 2, "10", 0},   {2, 1, "1", 1},
                                   {5, 5, "10101", 1}, {-1, 3, "101", 1}, {lowest, 2, "10", 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.level) + " for " + std::to_string(row.durations));
        GpioLine line;
        openOutput(line);

        EXPECT_TRUE(line.playSequence(row.level, std::vector<nanoseconds>(row.durations, 1ns)));
        EXPECT_EQ(readFile(valueFile), row.expectedBytes);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
    }
}

TEST_F(GpioLineSequence, PlaysNothingWithoutDurations)
{
    for (const std::int32_t level : {0, 1}) {
        GpioLine line;
        openOutput(line);
        ASSERT_TRUE(line.writeLevel(1 - level));
        const std::string before = readFile(valueFile);
        const Watch watch({lineDirectory});

        EXPECT_TRUE(line.playSequence(level, {}));
        EXPECT_FALSE(watch.sawAccess());
        EXPECT_EQ(readFile(valueFile), before);
        EXPECT_EQ(line.lastValue(), 1 - level);
        EXPECT_EQ(calls.sleeps.size(), 0U);
    }
}

TEST_F(GpioLineSequence, PlaysNothingWithoutDurationsAlsoWithoutALine)
{
    GpioLine line;

    EXPECT_TRUE(line.playSequence(1, {}));
    EXPECT_EQ(line.lastValue(), 0);
}

TEST_F(GpioLineSequence, PlaysEachLevelForAtLeastItsDuration)
{
    GpioLine line;
    openOutput(line);
    const auto start = system_clock::now();
    calls.sleep = [start](const timespec* request, timespec* remaining) {
        const std::string bytes = readFile(valueFile);
        SCOPED_TRACE(bytes);
        const auto now = system_clock::now();
        EXPECT_TRUE(bytes == "1" || (bytes == "10" && now - start >= 30ms) ||
                    (bytes == "101" && now - start >= 40ms));
        return Calls::sleepAsAsked(request, remaining);
    };

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{30ms, 10ms, 20ms}));
    EXPECT_EQ(system_clock::now() - start, 60ms);
    EXPECT_EQ(readFile(valueFile), "101");
}

TEST_F(GpioLineSequence, CountsTheDurationsFromTheCallOn)
{
    GpioLine line;
    openOutput(line);
    bool late = false;
    calls.sleep = [&late](const timespec* request, timespec* remaining) {
        if (readFile(valueFile) == "10") {
            EXPECT_LE(durationOf(*request), late ? 60ms : 100ms);
            return Calls::sleepAsAsked(request, remaining);
        }
        late = true;
        const nanoseconds longer = durationOf(*request) + 40ms;
        const timespec oversleep{0, static_cast<long>(longer.count())};
        return Calls::sleepAsAsked(&oversleep, remaining);
    };

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{10ms, 100ms}));
    EXPECT_EQ(readFile(valueFile), "10");
}

TEST_F(GpioLineSequence, DoesNotSleepForADurationThatIsPast)
{
    const std::vector<std::vector<nanoseconds>> sequences = {
        {0ns, 0ns}, {-1ns, -1ns}, {-90s, 10ms}, {-90s, 89s}};
    for (const std::vector<nanoseconds>& durations : sequences) {
        SCOPED_TRACE(durations.back().count());
        GpioLine line;
        openOutput(line);

        EXPECT_TRUE(line.playSequence(1, durations));
        EXPECT_EQ(readFile(valueFile), "10");
        EXPECT_EQ(calls.sleeps.size(), 0U);
    }
}

TEST_F(GpioLineSequence, TakesANegativeDurationFromTheNextOne)
{
    GpioLine line;
    openOutput(line);
    const auto start = system_clock::now();

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{-500ms, 530ms}));
    EXPECT_EQ(system_clock::now() - start, 30ms);
    EXPECT_EQ(readFile(valueFile), "10");
    for (const timespec& sleep : calls.sleeps) {
        EXPECT_LE(durationOf(sleep), 30ms);
    }
}

TEST_F(GpioLineSequence, ReadsTheClockAgainAfterEachSleep)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = [left = 3](const timespec* request, timespec* remaining) mutable {
        if (left-- > 0) {
            errno = EINVAL;
            return -1;
        }
        return Calls::sleepAsAsked(request, remaining);
    };
    const auto start = system_clock::now();

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{90ms}));
    EXPECT_EQ(system_clock::now() - start, 90ms);
    EXPECT_EQ(readFile(valueFile), "1");
    for (std::size_t i = 1; i < calls.sleeps.size(); ++i) {
        EXPECT_LE(durationOf(calls.sleeps[i]), durationOf(calls.sleeps[i - 1]));
    }
}

TEST_F(GpioLineSequence, SleepsUntilTheNextLevel)
{
    struct Asleep {};
    GpioLine line;
    openOutput(line);
    // The sleep need not last to show that the line sleeps and does not spin.
    calls.sleep = [](const timespec* /*request*/, timespec* /*remaining*/) -> int {
        throw Asleep();
    };

    EXPECT_THROW(static_cast<void>(line.playSequence(1, std::vector<nanoseconds>{20s})), Asleep);
    ASSERT_EQ(calls.sleeps.size(), 1U);
    EXPECT_LE(durationOf(calls.sleeps[0]), 20s);
}

TEST_F(GpioLineSequence, SleepsForTheRemainingTimeAfterASignal)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = interrupted({7ns});
    const auto start = system_clock::now();

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{60ms}));
    EXPECT_EQ(system_clock::now() - start, 60ms);
    ASSERT_GE(calls.sleeps.size(), 2U);
    EXPECT_EQ(durationOf(calls.sleeps[1]), 7ns);
}

TEST_F(GpioLineSequence, SplitsTheDurations)
{
    GpioLine line;
    openOutput(line);

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{1s + 50ms}));
    for (const timespec& sleep : calls.sleeps) {
        EXPECT_LT(sleep.tv_nsec, 1'000'000'000);
        EXPECT_LE(durationOf(sleep), 1s + 50ms);
    }
}

TEST_F(GpioLineSequence, EndsAtTheFirstLevelThatIsNotWritten)
{
    GpioLine line;
    openOutput(line);
    {
        const FileSizeLimit limit(2);
        EXPECT_FALSE(line.playSequence(1, std::vector<nanoseconds>{0ms, 0ms, 100ms, 100ms}));
    }
    EXPECT_EQ(readFile(valueFile), "10");
    EXPECT_EQ(line.lastValue(), 1);
    EXPECT_EQ(calls.sleeps.size(), 0U);
}

}  // namespace
