// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/appliance/Files.h"
#include "tests/unit/gpio/GpioLineCalls.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;

namespace {

using std::chrono::nanoseconds;

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

}  // namespace
