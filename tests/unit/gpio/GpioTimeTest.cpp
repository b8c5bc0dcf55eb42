// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/gpio/GpioLineFixture.h"

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using Durations = std::vector<nanoseconds>;

namespace {

/// Pulses and sequences on an output whose levels are the effects, with the waits between them.
class GpioLineTime : public GpioLineFixture {
protected:
    GpioLineTime() { openOutput(); }

    /// The effects of a sequence.
    std::string played(std::int32_t level, const Durations& durations)
    {
        return effectsOf([&] { return line.playSequence(level, durations); });
    }
};

TEST_F(GpioLineTime, OfAPulseIsItsDurationToTheNanosecond)
{
    struct Row {
        nanoseconds duration;
        const char* wait;
    };
    const std::vector<Row> rows = {{-90s, ""},
                                   {-1ns, ""},
                                   {0ns, ""},
                                   {1ns, "wait 0.000000001\n"},
                                   {999'999'999ns, "wait 0.999999999\n"},
                                   {1'000'000'000ns, "wait 1.000000000\n"},
                                   {90'000'000'007ns, "wait 90.000000007\n"},
                                   {nanoseconds::max(), "wait 9223372036.854775807\n"}};
    effects.wait = [](nanoseconds /*duration*/) { return Effects::WaitEnd{}; };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.duration.count());
        EXPECT_EQ(effectsOf([&] { return line.pulseFor(1, row.duration); }),
                  highWritten + row.wait + lowWritten + succeeds(0, 1));
    }
}

TEST_F(GpioLineTime, OfAPulseGoesOnAfterASignalForWhatIsLeft)
{
    const Durations left = {900ms, 70us, 7ns};
    effects.wait = [&, count = std::size_t{0}](nanoseconds /*duration*/) mutable {
        return count < left.size() ? Effects::WaitEnd{EINTR, left[count++]} : Effects::WaitEnd{};
    };

    EXPECT_EQ(effectsOf([&] { return line.pulseFor(0, 3s); }),
              lowWritten +
                  "wait 3.000000000: EINTR\nwait 0.900000000: EINTR\n"
                  "wait 0.000070000: EINTR\nwait 0.000000007\n" +
                  highWritten + succeeds(1, 1));
}

TEST_F(GpioLineTime, OfAPulseEndsEarlyAfterAnyOtherError)
{
    for (const int error : {EPERM, ESRCH, EIO, EFAULT, EINVAL}) {
        const std::string name = strerrorname_np(error);
        effects.wait = [error](nanoseconds /*duration*/) { return Effects::WaitEnd{error, 1s}; };

        EXPECT_EQ(effectsOf([&] { return line.pulseFor(1, 3s); }),
                  highWritten + "wait 3.000000000: " + name + "\n" + lowWritten + succeeds(0, 1));
    }
}

// A successful call need not change errno (errno(3)).
TEST_F(GpioLineTime, OfAPulsePassesOnceIfAnEarlierCallWasInterrupted)
{
    effects.wait = [count = 0](nanoseconds /*duration*/) mutable {
        errno = ++count == 1 ? EINTR : 0;
        return Effects::WaitEnd{};
    };

    EXPECT_EQ(effectsOf([&] { return line.pulseFor(1, 90s); }),
              highWritten + "wait 90.000000000\n" + lowWritten + succeeds(0, 1));
}

// After any level but 0 the next one is 0, unlike with a pulse; that is intended.
TEST_F(GpioLineTime, OfASequenceSeparatesALevelAndItsNegationInTurn)
{
    const std::string tick = "wait 0.000000001\n";
    struct Row {
        std::int32_t level;
        std::size_t durations;
        std::string expected;
        int value;
    };
    const std::vector<Row> rows = {
        {0, 0, "", 0},
        {0, 1, lowWritten + tick, 0},
        {1, 1, highWritten + tick, 1},
        {0, 3, lowWritten + tick + highWritten + tick + lowWritten + tick, 0},
        {2, 2, highWritten + tick + lowWritten + tick, 0},
        {-1, 3, highWritten + tick + lowWritten + tick + highWritten + tick, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.level) + " for " + std::to_string(row.durations));
        openOutput();
        EXPECT_EQ(played(row.level, Durations(row.durations, 1ns)),
                  row.expected + succeeds(row.value, 1));
    }
    GpioLine never;
    EXPECT_TRUE(never.playSequence(1, {}));
    EXPECT_EQ(never.lastValue(), 0);
}

// The deadlines are absolute: what the writes take is waited less, to the nanosecond.
TEST_F(GpioLineTime, OfASequenceDoesNotAddUpTheTimeOfTheWrites)
{
    effects.before = [this](const std::string& effect) {
        if (effect.starts_with("write ")) {
            effects.advance(3ns);
        }
        return 0;
    };

    EXPECT_EQ(played(0, {10ns, 2ns, 2ns, 10ns}), lowWritten + "wait 0.000000007\n" + highWritten +
                                                     lowWritten + highWritten +
                                                     "wait 0.000000005\n" + succeeds(1, 1));
}

TEST_F(GpioLineTime, OfASequenceCountsFromTheCallOnWhateverIsPast)
{
    struct Row {
        Durations durations;
        std::string waits[2];
    };
    const std::vector<Row> rows = {
        {{0ns, 0ns}, {"", ""}},
        {{-90s, 89s}, {"", ""}},
        {{-500ms, 530ms}, {"", "wait 0.030000000\n"}},
        {{1s, -1s}, {"wait 1.000000000\n", ""}},
        {{1'000'000'001ns, 30ms}, {"wait 1.000000001\n", "wait 0.030000000\n"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.durations[0].count());
        EXPECT_EQ(played(1, row.durations),
                  highWritten + row.waits[0] + lowWritten + row.waits[1] + succeeds(0, 1));
    }
}

TEST_F(GpioLineTime, OfASequenceFollowsAStepOfTheSystemClock)
{
    effects.wait = [this, count = 0](nanoseconds duration) mutable {
        effects.steadyTime += duration;
        effects.systemTime += ++count == 1 ? -1s : 4s;  // set back, then forward
        return Effects::WaitEnd{};
    };

    EXPECT_EQ(played(1, {2s, 1s}),
              highWritten + "wait 2.000000000\nwait 3.000000000\n" + lowWritten + succeeds(0, 1));
}

TEST_F(GpioLineTime, OfASequenceGoesOnAfterASignalAndAfterAnError)
{
    effects.wait = [this, count = 0](nanoseconds duration) mutable {
        switch (++count) {
        case 1:
            effects.advance(1s);
            return Effects::WaitEnd{EINTR, 1s + 5ns};
        case 2:
            return Effects::WaitEnd{EINVAL, {}};
        default:
            effects.advance(duration);
            return Effects::WaitEnd{};
        }
    };

    EXPECT_EQ(played(1, {2s}), highWritten + "wait 2.000000000: EINTR\nwait 1.000000005: EINVAL\n" +
                                   "wait 1.000000000\n" + succeeds(1, 1));
}

TEST_F(GpioLineTime, OfASequenceEndsAtTheFirstLevelThatIsNotWritten)
{
    effects.before = [count = 0](const std::string& effect) mutable {
        return effect.starts_with("write ") && ++count == 3 ? EIO : 0;
    };

    EXPECT_EQ(played(1, {0ms, 1s, 1s, 1s}), highWritten + lowWritten +
                                                "wait 1.000000000\nwrite gpio17/value: EIO\n" +
                                                fails(1, 1));
}

}  // namespace
