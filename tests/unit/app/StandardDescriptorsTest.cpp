// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/StandardDescriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <string>

#include "tests/appliance/Files.h"

namespace {

/// Whether open(2) of this executable finds the null device.
bool hasNullDevice = true;

}  // namespace

// The machine's null device can be taken away in a root folder of one's own only, and not every
// machine grants one.
extern "C" int open(const char* path, int flags, ...)
{
    if (!hasNullDevice && std::strcmp(path, "/dev/null") == 0) {
        errno = ENOENT;
        return -1;
    }
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openat(AT_FDCWD, path, flags, mode);
}

namespace {

/// The descriptors that a child is started with are open on files of this name with the number
/// behind it, and the ones above on nothing.
const std::string ownFile = "/appliance/descriptor-";

/// Where the child has its pipe to the test, out of the way.
constexpr int pipeDescriptor = 100;

bool isSameFile(const struct stat& one, const struct stat& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// What a descriptor is open on, and what a write of one byte and a read make of it.
std::string describe(int descriptor, const struct stat& own)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0) {
        return "closed";
    }
    struct stat root = {};
    stat("/", &root);
    std::string text = "something else";
    if (isSameFile(status, own)) {
        text = "its own file";
    } else if (S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3)) {
        text = "null device";
    } else if (isSameFile(status, root)) {
        text = "root folder";
    }
    char byte = 'x';
    text += write(descriptor, &byte, 1) == 1 ? ", writable" : ", refuses writing";
    text += read(descriptor, &byte, 1) >= 0 ? ", readable" : ", refuses reading";
    return text;
}

/// Runs the function in a child that is started with some of 0 to 2 closed, bit n of the set for
/// descriptor n, and describes 0 to 3 afterwards, a line each.
std::string fillInChild(unsigned closed, bool withNullDevice)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        return "cannot make a pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], pipeDescriptor);
        std::array<struct stat, 4> own{};
        for (int fd = 0; fd <= 2; ++fd) {
            const auto index = static_cast<std::size_t>(fd);
            const int file = open((ownFile + std::to_string(fd)).c_str(), O_RDWR);
            dup2(file, fd);
            fstat(fd, &own[index]);
        }
        for (int fd = 3; fd < pipeDescriptor; ++fd) {
            close(fd);
        }
        for (int fd = 0; fd <= 2; ++fd) {
            if ((closed >> fd & 1U) != 0) {
                close(fd);
            }
        }

        hasNullDevice = withNullDevice;
        openClosedStandardDescriptors();

        std::string report;
        for (int fd = 0; fd <= 3; ++fd) {
            report += describe(fd, own[static_cast<std::size_t>(fd)]) + "\n";
        }
        const ssize_t written = write(pipeDescriptor, report.data(), report.size());
        _exit(written == static_cast<ssize_t>(report.size()) ? 0 : 2);
    }
    close(ends[1]);
    std::array<char, 4096> bytes{};
    std::string report;
    for (ssize_t count = 0; (count = read(ends[0], bytes.data(), bytes.size())) > 0;) {
        report.append(bytes.data(), static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? report : report + "the child failed";
}

class StandardDescriptors : public testing::Test {
protected:
    StandardDescriptors()
    {
        emptyDirectory("/appliance");
        for (int fd = 0; fd <= 2; ++fd) {
            writeFile(ownFile + std::to_string(fd), "");
        }
    }
};

struct Row {
    const char* name;
    unsigned closed;
};

constexpr Row rows[] = {
    {"all open", 0b000},       {"0 closed", 0b001},   {"1 closed", 0b010},
    {"0 and 1 closed", 0b011}, {"2 closed", 0b100},   {"0 and 2 closed", 0b101},
    {"1 and 2 closed", 0b110}, {"all closed", 0b111},
};

/// The four lines for a child where the closed ones were filled with this.
std::string filledWith(const std::string& filling, unsigned closed)
{
    std::string report;
    for (int fd = 0; fd <= 2; ++fd) {
        report += (closed >> fd & 1U) != 0 ? filling : "its own file, writable, readable";
        report += '\n';
    }
    return report + "closed\n";
}

TEST_F(StandardDescriptors, AreOpenedOnTheNullDeviceWhereTheyAreClosed)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(fillInChild(row.closed, true),
                  filledWith("null device, writable, readable", row.closed));
    }
}

TEST_F(StandardDescriptors, AreOpenedOnTheRootFolderWithoutANullDevice)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(fillInChild(row.closed, false),
                  filledWith("root folder, refuses writing, refuses reading", row.closed));
    }
}

}  // namespace
