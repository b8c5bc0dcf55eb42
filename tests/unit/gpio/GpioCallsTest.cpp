// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/appliance/StandardInputClosed.h"
#include "tests/unit/gpio/GpioLineCalls.h"

namespace fs = std::filesystem;

namespace {

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
    const StandardInputClosed freed;
    const std::string transcript = calls.record([] {
        GpioLine zero;
        EXPECT_TRUE(zero.init(17, 1));
        zero.close();
        zero.close();
    });
    EXPECT_EQ(calls.descriptor, 0);

    EXPECT_EQ(transcript, noneClosed + present + opened + attributeWritten("direction", "high"));
}

// The descriptor that is not closed is not reset either; the mode is set after the direction.
TEST_F(GpioLineCalls, DescriptorZeroOutlivesADirectionThatFails)
{
    replaceByDirectory(directionFile);
    const StandardInputClosed freed;
    GpioLine zero;
    EXPECT_FALSE(zero.init(17, 1));
    const std::string edgeCalls = callsOf([&] { return zero.disableEdge(); });

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
