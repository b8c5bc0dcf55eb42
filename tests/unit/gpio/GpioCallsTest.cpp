// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/gpio/GpioLineFixture.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;

namespace {

using std::chrono::nanoseconds;

// Each operation as the sequence of calls that it makes, with the time that it takes.

class GpioLineCalls : public GpioLineFixture {
protected:
    /// Returns the calls of an operation, with "true" or "false" as the last line.
    std::string callsOf(const std::function<bool()>& operation)
    {
        bool result = false;
        const std::string transcript = calls.record([&] { result = operation(); });
        return transcript + (result ? "true\n" : "false\n");
    }

    GpioLine line;
};

const std::string noneClosed = "close descriptor -1 = EBADF\n";
const std::string present = "opendir /sys/class/gpio/gpio17\n";
const std::string exported = "opendir /sys/class/gpio/gpio17 = ENOENT\n"
                             "fopen /sys/class/gpio/export w\n"
                             "write /sys/class/gpio/export \"17\"\n"
                             "fclose /sys/class/gpio/export\n";
const std::string opened = "usleep 20000\n"
                           "open /sys/class/gpio/gpio17/value O_RDWR\n";
const std::string notOpened = "usleep 20000\n"
                              "open /sys/class/gpio/gpio17/value O_RDWR = ENOENT\n";
const std::string closed = "close /sys/class/gpio/gpio17/value\n";
const std::string levelRead = "lseek /sys/class/gpio/gpio17/value start\n"
                              "read /sys/class/gpio/gpio17/value \"0\\n\"\n";
const std::string highWritten = "write /sys/class/gpio/gpio17/value \"1\"\n";
const std::string lowWritten = "write /sys/class/gpio/gpio17/value \"0\"\n";
const std::string clockRead = "system clock\n";

std::string times(int count, const std::string& text)
{
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

std::string attributeWritten(const std::string& attribute, const std::string& text)
{
    const std::string path = "/sys/class/gpio/gpio17/" + attribute;
    return "fopen " + path + " w\nwrite " + path + " \"" + text + "\"\nfclose " + path + "\n";
}

const std::string madeInput = attributeWritten("direction", "in") + levelRead;

// init

TEST_F(GpioLineCalls, InitOfALineThatIsExported)
{
    EXPECT_EQ(callsOf([&] { return line.init(17, -1); }),
              noneClosed + present + opened + madeInput + "true\n");
}

TEST_F(GpioLineCalls, InitOfALineThatIsNotExported)
{
    fs::remove_all(lineDirectory);
    calls.beforeOpen = [](std::size_t /*attempt*/) { makeLine(17); };

    EXPECT_EQ(callsOf([&] { return line.init(17, -1); }),
              noneClosed + exported + opened + madeInput + "true\n");
}

TEST_F(GpioLineCalls, InitOfALineWhoseDirectoryMayNotBeOpened)
{
    ASSERT_EQ(chmod(lineDirectory.c_str(), 0311), 0);
    const std::string transcript = callsOf([&] { return line.init(17, -1); });
    ASSERT_EQ(chmod(lineDirectory.c_str(), 0755), 0);

    EXPECT_EQ(transcript, noneClosed +
                              "opendir /sys/class/gpio/gpio17 = EACCES\n"
                              "fopen /sys/class/gpio/export w\n"
                              "write /sys/class/gpio/export \"17\"\n"
                              "fclose /sys/class/gpio/export\n" +
                              opened + madeInput + "true\n");
}

TEST_F(GpioLineCalls, InitOfALineThatAppearsBeforeAnyAttempt)
{
    for (int appearance = 1; appearance <= 11; ++appearance) {
        SCOPED_TRACE(appearance);
        fs::remove_all(lineDirectory);
        calls.openFlags.clear();
        calls.beforeOpen = [appearance](std::size_t attempt) {
            if (attempt == static_cast<std::size_t>(appearance)) {
                makeLine(17);
            }
        };
        GpioLine late;

        EXPECT_EQ(callsOf([&] { return late.init(17, -1); }), noneClosed + exported +
                                                                  times(appearance - 1, notOpened) +
                                                                  opened + madeInput + "true\n");
    }
}

TEST_F(GpioLineCalls, InitOfALineThatAppearsTooLate)
{
    fs::remove_all(lineDirectory);
    calls.beforeOpen = [](std::size_t attempt) {
        if (attempt == 12) {
            makeLine(17);
        }
    };
    const nanoseconds start = calls.steadyTime;

    EXPECT_EQ(callsOf([&] { return line.init(17, -1); }),
              noneClosed + exported + times(11, notOpened) + "false\n");
    EXPECT_EQ(calls.steadyTime - start, 220ms);
}

// No error ends the attempts, and none of them is not counted.
TEST_F(GpioLineCalls, InitOfALineThatCannotBeOpenedForAnyReason)
{
    for (const int error : {EPERM, ENOENT, EINTR, EIO, ENXIO, EAGAIN, EACCES, EBUSY, ENODEV, EINVAL,
                            EMFILE, ETXTBSY}) {
        SCOPED_TRACE(error);
        const std::string failing = "usleep 20000\nopen /sys/class/gpio/gpio17/value O_RDWR = " +
                                    std::string(strerrorname_np(error)) + "\n";
        GpioLine failed;
        calls.openFlags.clear();
        calls.openError = error;
        calls.beforeOpen = [this](std::size_t attempt) {
            calls.openError = attempt > 11 ? 0 : calls.openError;
        };
        EXPECT_EQ(callsOf([&] { return failed.init(17, -1); }),
                  noneClosed + present + times(11, failing) + "false\n");

        calls.openFlags.clear();
        calls.openError = error;
        calls.beforeOpen = [this](std::size_t attempt) {
            calls.openError = attempt > 10 ? 0 : calls.openError;
        };
        EXPECT_EQ(callsOf([&] { return failed.init(17, -1); }),
                  noneClosed + present + times(10, failing) + opened + madeInput + "true\n");
    }
}

// The wait is no part of the result: a signal may cut it short.
TEST_F(GpioLineCalls, InitDoesNotRepeatAWaitThatASignalEnds)
{
    calls.usleepError = EINTR;

    EXPECT_EQ(callsOf([&] { return line.init(17, -1); }),
              noneClosed + present +
                  "usleep 20000 = EINTR\nopen /sys/class/gpio/gpio17/value O_RDWR\n" + madeInput +
                  "true\n");
}

// A line that could not be set up is not this object's: release unexports nothing.
TEST_F(GpioLineCalls, InitThatFailsLeavesNoNumber)
{
    const auto release = [this] {
        line.release();
        return true;
    };
    calls.openError = ENOENT;
    EXPECT_FALSE(line.init(17, -1));
    calls.openError = 0;
    EXPECT_EQ(callsOf(release), noneClosed + "true\n");

    replaceByDirectory(directionFile);
    EXPECT_FALSE(line.init(17, -1));
    EXPECT_EQ(callsOf(release), noneClosed + "true\n");
}

TEST_F(GpioLineCalls, InitOfALineThatCannotBeExported)
{
    fs::remove_all(root);

    EXPECT_EQ(callsOf([&] { return line.init(17, -1); }),
              noneClosed + "opendir /sys/class/gpio/gpio17 = ENOENT\n"
                           "fopen /sys/class/gpio/export w = ENOENT\n"
                           "false\n");
}

TEST_F(GpioLineCalls, InitOfALineWhoseDirectionIsRefused)
{
    replaceByDirectory(directionFile);

    EXPECT_EQ(callsOf([&] { return line.init(17, -1); }),
              noneClosed + present + opened +
                  "fopen /sys/class/gpio/gpio17/direction w = EISDIR\n" + closed + "false\n");
}

TEST_F(GpioLineCalls, InitOfTheLineThatIsOpen)
{
    ASSERT_TRUE(line.init(17, -1));

    EXPECT_EQ(callsOf([&] { return line.init(17, 0); }), "true\n");
}

TEST_F(GpioLineCalls, InitOfAnotherLine)
{
    makeLine(18);
    ASSERT_TRUE(line.init(18, -1));

    EXPECT_EQ(callsOf([&] { return line.init(17, -1); }),
              "close /sys/class/gpio/gpio18/value\n" + present + opened + madeInput + "true\n");
}

// setDirection

TEST_F(GpioLineCalls, DirectionRequests)
{
    struct Row {
        std::int32_t request;
        const char* direction;
        std::string expected;
    };
    const std::string readBack = "fopen /sys/class/gpio/gpio17/direction r\n"
                                 "read /sys/class/gpio/gpio17/direction ";
    const std::string readClosed = "fclose /sys/class/gpio/gpio17/direction\n";
    const std::vector<Row> rows = {
        {-1, "out\n", madeInput},
        {0, "in\n", attributeWritten("direction", "low")},
        {1, "in\n", attributeWritten("direction", "high")},
        {2, "out\n", readBack + "\"out\\n\"\n" + readClosed + levelRead},
        {2, "in\n", readBack + "\"in\\n\"\n" + readClosed + attributeWritten("direction", "high")},
    };
    ASSERT_TRUE(line.init(17, -1));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.request);
        writeFile(directionFile, row.direction);

        EXPECT_EQ(callsOf([&] { return line.setDirection(17, row.request); }),
                  row.expected + "true\n");
    }
}

TEST_F(GpioLineCalls, EdgeRequests)
{
    writeFile(lineDirectory + "/edge", "");
    ASSERT_TRUE(line.init(17, -1));

    EXPECT_EQ(callsOf([&] { return line.setEdge(-1); }),
              attributeWritten("edge", "falling") + "true\n");
    EXPECT_EQ(callsOf([&] { return line.setEdge(0); }),
              attributeWritten("edge", "both") + "true\n");
    EXPECT_EQ(callsOf([&] { return line.setEdge(1); }),
              attributeWritten("edge", "rising") + "true\n");
    EXPECT_EQ(callsOf([&] { return line.disableEdge(); }),
              attributeWritten("edge", "none") + "true\n");
}

TEST_F(GpioLineCalls, EdgesWithoutALineAreThoseOfMinusOne)
{
    const std::string refused = "fopen /sys/class/gpio/gpio-1/edge w = ENOENT\nfalse\n";

    EXPECT_EQ(callsOf([&] { return line.setEdge(1); }), refused);
    EXPECT_EQ(callsOf([&] { return line.disableEdge(); }), refused);
}

// Levels

// A FIFO has no position (ESPIPE).
TEST_F(GpioLineCalls, ReadingNeedsNoRewind)
{
    fs::remove(valueFile);
    ASSERT_EQ(mkfifo(valueFile.c_str(), 0600), 0);
    const int writer = ::open(valueFile.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::write(writer, "0\n1\n", 4), 4);
    ASSERT_TRUE(line.init(17, -1));

    EXPECT_EQ(callsOf([&] { return line.readValue() == 1; }),
              "lseek /sys/class/gpio/gpio17/value start = ESPIPE\n"
              "read /sys/class/gpio/gpio17/value \"1\\n\"\n"
              "true\n");
    ::close(writer);
}

// Not even after a signal.
TEST_F(GpioLineCalls, NoReadOrWriteIsRepeated)
{
    ASSERT_TRUE(line.init(17, -1));
    for (const int error : {EINTR, EAGAIN, EIO, ENODEV, EPERM}) {
        SCOPED_TRACE(error);
        const std::string name = strerrorname_np(error);
        calls.readError = error;
        calls.writeError = error;

        EXPECT_EQ(callsOf([&] { return line.readValue() != -1; }),
                  "lseek /sys/class/gpio/gpio17/value start\n"
                  "read /sys/class/gpio/gpio17/value = " +
                      name + "\nfalse\n");
        EXPECT_EQ(callsOf([&] { return line.writeLevel(1); }),
                  "write /sys/class/gpio/gpio17/value \"1\" = " + name + "\nfalse\n");
    }
    calls.writeError = Calls::writesNothing;
    EXPECT_EQ(callsOf([&] { return line.writeLevel(1); }), highWritten + "false\n");
}

TEST_F(GpioLineCalls, ReadingAsksForTwoBytesFromTheStart)
{
    ASSERT_TRUE(line.init(17, -1));
    writeFile(valueFile, "1\n and more");

    EXPECT_EQ(callsOf([&] { return line.readValue() == 1; }),
              "lseek /sys/class/gpio/gpio17/value start\n"
              "read /sys/class/gpio/gpio17/value \"1\\n\"\n"
              "true\n");
}

TEST_F(GpioLineCalls, WritingALevelDoesNotRewind)
{
    openOutput(line);
    std::int32_t level = 1;

    EXPECT_EQ(callsOf([&] { return line.writeLevel(1); }), highWritten + "true\n");
    EXPECT_EQ(callsOf([&] { return line.writeLevelAndToggle(level); }), highWritten + "true\n");
    EXPECT_EQ(callsOf([&] { return line.pulse(2); }), highWritten + highWritten + "true\n");
}

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

    EXPECT_EQ(callsOf([&] {
                  return line.playSequence(1, std::vector<nanoseconds>{2s, 1s});
              }),
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

// close, release and the destructor

TEST_F(GpioLineCalls, CloseWithoutALineHandsOnTheDescriptorMinusOne)
{
    const auto close = [this] {
        line.close();
        return true;
    };

    EXPECT_EQ(callsOf(close), noneClosed + "true\n");
    EXPECT_EQ(callsOf(close), noneClosed + "true\n");
    ASSERT_TRUE(line.init(17, -1));
    EXPECT_EQ(callsOf(close), closed + "true\n");
    EXPECT_EQ(callsOf(close), noneClosed + "true\n");
}

TEST_F(GpioLineCalls, CloseOfDescriptorZeroCallsNothing)
{
    const int kept = dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    const std::string transcript = calls.record([] {
        GpioLine zero;
        EXPECT_TRUE(zero.init(17, 1));
        zero.close();
        zero.close();
    });
    EXPECT_EQ(calls.descriptor, 0);
    ::close(STDIN_FILENO);
    dup2(kept, STDIN_FILENO);
    ::close(kept);

    EXPECT_EQ(transcript, noneClosed + present + opened + attributeWritten("direction", "high"));
}

// The descriptor that is not closed is not reset either; the mode is set after the direction.
TEST_F(GpioLineCalls, DescriptorZeroOutlivesADirectionThatFails)
{
    replaceByDirectory(directionFile);
    const int kept = dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    GpioLine zero;
    EXPECT_FALSE(zero.init(17, 1));
    const std::string edgeCalls = callsOf([&] { return zero.disableEdge(); });
    ::close(STDIN_FILENO);
    dup2(kept, STDIN_FILENO);
    ::close(kept);

    EXPECT_EQ(calls.descriptor, 0);
    EXPECT_EQ(zero.currentMode(), 0);
    EXPECT_EQ(edgeCalls, attributeWritten("edge", "none") + "true\n");
}

TEST_F(GpioLineCalls, CloseThatFailsResetsTheLineToo)
{
    ASSERT_TRUE(line.init(17, -1));
    ::close(calls.descriptor);
    const auto close = [this] {
        line.close();
        return true;
    };

    EXPECT_TRUE(callsOf(close).ends_with(" = EBADF\ntrue\n"));
    EXPECT_EQ(callsOf(close), noneClosed + "true\n");
}

TEST_F(GpioLineCalls, ReleaseUnexportsBeforeItCloses)
{
    const auto release = [this] {
        line.release();
        return true;
    };
    EXPECT_EQ(callsOf(release), noneClosed + "true\n");
    ASSERT_TRUE(line.init(17, -1));

    EXPECT_EQ(callsOf(release), "fopen /sys/class/gpio/unexport w\n"
                                "write /sys/class/gpio/unexport \"17\"\n"
                                "fclose /sys/class/gpio/unexport\n" +
                                    closed + "true\n");
    EXPECT_EQ(callsOf(release), noneClosed + "true\n");
}

TEST_F(GpioLineCalls, TheDestructorOnlyCloses)
{
    EXPECT_EQ(calls.record([] { const GpioLine never; }), noneClosed);
    EXPECT_EQ(calls.record([] {
        GpioLine once;
        EXPECT_TRUE(once.init(17, 0));
    }),
              noneClosed + present + opened + attributeWritten("direction", "low") + closed);
}

}  // namespace
