// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/StandardDescriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "tests/appliance/Files.h"
#include "tests/unit/effects/Effects.h"

namespace {

const std::string ownFile = "/appliance/own";
const std::string report = "/appliance/report";

bool isSameFile(const struct stat& status, const std::string& path)
{
    struct stat other = {};
    return stat(path.c_str(), &other) == 0 && status.st_dev == other.st_dev &&
           status.st_ino == other.st_ino;
}

/// Says what a descriptor is open on, what it can be used for, and whether it is inherited.
std::string describe(int descriptor)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0) {
        return "closed";
    }
    std::string text = "something else";
    if (S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3)) {
        text = "null device";
    } else if (isSameFile(status, ownFile)) {
        text = "own file";
    } else if (isSameFile(status, "/")) {
        text = "root directory";
    }
    char byte = 'x';
    text += write(descriptor, &byte, 1) == 1 ? ", writable" : "";
    text += read(descriptor, &byte, 1) >= 0
                ? ", readable"
                : std::string(", refuses reading by ") + strerrorname_np(errno);
    text += fcntl(descriptor, F_GETFD) == 0 ? ", inherited" : "";
    return text;
}

/// Calls the function in a process that starts with some of the descriptors 0 to 2 closed, bit n
/// for descriptor n, and with no others. Returns what 0 to 3 are afterwards, a line for each.
std::string openedIn(unsigned closed, bool hasNullDevice)
{
    emptyDirectory("/appliance");
    writeFile(ownFile, "");
    const pid_t child = fork();
    if (child == 0) {
        for (int fd = 0; fd < 100; ++fd) {
            close(fd);
        }
        for (int fd = 0; fd <= 2; ++fd) {
            open(ownFile.c_str(), O_RDWR);
        }
        for (int fd = 0; fd <= 2; ++fd) {
            if ((closed >> fd & 1U) != 0) {
                close(fd);
            }
        }

        // The machine's null device can be taken away in a root directory of one's own only, and
        // not every machine grants one.
        Effects effects;
        effects.before = [hasNullDevice](const std::string& effect) {
            return effect == "look for /dev/null" && !hasNullDevice ? ENOENT : 0;
        };
        effects.record(openClosedStandardDescriptors);

        std::string text;
        for (int fd = 0; fd <= 3; ++fd) {
            text += describe(fd) + "\n";
        }
        writeFile(report, text);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    return readFile(report);
}

/// The bits of the descriptors that are closed.
class StandardDescriptors : public testing::TestWithParam<unsigned> {
protected:
    /// Four lines, for closed descriptors that were opened like this.
    static std::string openedAs(const std::string& description)
    {
        std::string text;
        for (int fd = 0; fd <= 2; ++fd) {
            const bool wasClosed = (GetParam() >> fd & 1U) != 0;
            text += (wasClosed ? description : "own file, writable, readable, inherited") + "\n";
        }
        return text + "closed\n";
    }
};

TEST_P(StandardDescriptors, AreOpenedOnTheNullDeviceIfClosed)
{
    EXPECT_EQ(openedIn(GetParam(), true), openedAs("null device, writable, readable, inherited"));
}

TEST_P(StandardDescriptors, AreOpenedOnTheRootDirectoryIfClosedAndThereIsNoNullDevice)
{
    EXPECT_EQ(openedIn(GetParam(), false),
              openedAs("root directory, refuses reading by EISDIR, inherited"));
}

INSTANTIATE_TEST_SUITE_P(, StandardDescriptors, testing::Range(0U, 8U));

}  // namespace
