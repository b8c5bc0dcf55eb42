// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cerrno>
#include <chrono>
#include <string>
#include <vector>

#include "tests/unit/gpio/GpioLineCalls.h"

using namespace std::chrono_literals;

namespace {

using std::chrono::nanoseconds;

TEST_F(GpioLineCalls, APulseSleepsItsDurationToTheNanosecond)
{
    struct Row {
        nanoseconds duration;
        const char* sleep;
    };
    const std::vector<Row> rows = {{-1ns, ""},
                                   {0ns, ""},
                                   {1ns, "nanosleep 0.000000001\n"},
                                   {999'999'999ns, "nanosleep 0.999999999\n"},
                                   {1'000'000'000ns, "nanosleep 1.000000000\n"},
                                   {90'000'000'007ns, "nanosleep 90.000000007\n"}};
    openOutput(line);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.duration.count());

        EXPECT_EQ(callsOf([&] { return line.pulseFor(1, row.duration); }),
                  highWritten + row.sleep + lowWritten + "true\n");
    }
}

TEST_F(GpioLineCalls, APulseSleepsOnForWhatASignalLeft)
{
    openOutput(line);
    calls.sleep = interrupted({900ms, 70us, 7ns});

    EXPECT_EQ(callsOf([&] { return line.pulseFor(0, 3s); }),
              lowWritten +
                  "nanosleep 3.000000000\nnanosleep 0.900000000\n"
                  "nanosleep 0.000070000\nnanosleep 0.000000007\n" +
                  highWritten + "true\n");
}

TEST_F(GpioLineCalls, APulseSleepsOnAfterNoOtherFailure)
{
    openOutput(line);
    for (int error = 1; error < 134; ++error) {
        if (error == EINTR) {
            continue;
        }
        SCOPED_TRACE(error);
        calls.sleep = [error, count = 0](const timespec* /*request*/,
                                         timespec* /*remaining*/) mutable {
            errno = error;
            return ++count < 5 ? -1 : 0;
        };

        EXPECT_EQ(callsOf([&] { return line.pulseFor(1, 3s); }),
                  highWritten + "nanosleep 3.000000000\n" + lowWritten + "true\n");
    }
}

// playSequence

TEST_F(GpioLineCalls, ASequenceCountsOnTheSystemClock)
{
    openOutput(line);

    EXPECT_EQ(callsOf([&] {
                  return line.playSequence(1, std::vector<nanoseconds>{1'000'000'001ns, 30ms});
              }),
              clockRead + highWritten + clockRead + "nanosleep 1.000000001\n" + clockRead +
                  lowWritten + clockRead + "nanosleep 0.030000000\n" + clockRead + "true\n");
}

TEST_F(GpioLineCalls, ASequenceReadsTheClockBeforeItLooksForDurations)
{
    openOutput(line);

    EXPECT_EQ(callsOf([&] { return line.playSequence(1, {}); }), clockRead + "true\n");
}

// The deadlines are absolute: what the writes take is slept less, to the nanosecond.
TEST_F(GpioLineCalls, ASequenceDoesNotAddUpTheTimeOfTheWrites)
{
    openOutput(line);
    calls.before = [this](const std::string& call) {
        if (call.starts_with("write")) {
            calls.advance(3ns);
        }
    };

    EXPECT_EQ(callsOf([&] {
                  return line.playSequence(0, std::vector<nanoseconds>{10ns, 2ns, 2ns, 10ns});
              }),
              clockRead + lowWritten + clockRead + "nanosleep 0.000000007\n" + clockRead +
                  highWritten + clockRead + lowWritten + clockRead + highWritten + clockRead +
                  "nanosleep 0.000000005\n" + clockRead + "true\n");
}

TEST_F(GpioLineCalls, ASequenceFollowsAStepOfTheSystemClock)
{
    openOutput(line);
    calls.sleep = [this](const timespec* request, timespec* /*remaining*/) {
        calls.steadyTime += durationOf(*request);
        calls.systemTime += calls.sleeps.size() == 1 ? -1s : 4s;  // set back, then forward
        return 0;
    };

    const std::vector<nanoseconds> durations = {2s, 1s};
    EXPECT_EQ(callsOf([&] { return line.playSequence(1, durations); }),
              clockRead + highWritten + clockRead + "nanosleep 2.000000000\n" + clockRead +
                  "nanosleep 3.000000000\n" + clockRead + lowWritten + clockRead + "true\n");
}

TEST_F(GpioLineCalls, ASequenceSleepsOnAfterASignalAndReadsTheClockAfterAFailure)
{
    openOutput(line);
    calls.sleep = [this](const timespec* request, timespec* remaining) {
        if (calls.sleeps.size() == 1) {
            calls.advance(1s);
            *remaining = {1, 5};
            errno = EINTR;
            return -1;
        }
        if (calls.sleeps.size() == 2) {
            errno = EINVAL;
            return -1;
        }
        return Calls::sleepAsAsked(request, remaining);
    };

    EXPECT_EQ(callsOf([&] { return line.playSequence(1, std::vector<nanoseconds>{2s}); }),
              clockRead + highWritten + clockRead +
                  "nanosleep 2.000000000\nnanosleep 1.000000005\n" + clockRead +
                  "nanosleep 1.000000000\n" + clockRead + "true\n");
}

}  // namespace
