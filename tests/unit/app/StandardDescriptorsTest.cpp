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
#include <cstring>
#include <ostream>
#include <string>

#include "tests/appliance/Files.h"
#include "tests/unit/effects/Effects.h"

namespace {

/// A child is started with its open descriptors on files of this name, followed by their number.
const std::string ownFile = "/appliance/descriptor-";

/// The descriptor of the pipe from the child to the test.
constexpr int pipeDescriptor = 100;

bool isSameFile(const struct stat& one, const struct stat& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Describes what a descriptor is open on, and whether it can be written and read and is inherited.
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
        text = "root directory";
    }
    char byte = 'x';
    text += write(descriptor, &byte, 1) == 1 ? ", writable" : ", refuses writing";
    text += read(descriptor, &byte, 1) >= 0
                ? ", readable"
                : std::string(", refuses reading by ") + strerrorname_np(errno);
    text += fcntl(descriptor, F_GETFD) == 0 ? "" : ", not inherited";
    return text;
}

/// Calls the function in a child that is started with some of the descriptors 0 to 2 closed, bit n
/// for descriptor n. Returns the descriptions of 0 to 3 afterwards, one per line.
std::string openInChild(unsigned closed, bool withNullDevice)
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

        // The machine's null device can be taken away in a root directory of one's own only, and
        // not every machine grants one.
        Effects effects;
        effects.before = [withNullDevice](const std::string& effect) {
            return effect.ends_with(" /dev/null") && !withNullDevice ? ENOENT : 0;
        };
        effects.record(openClosedStandardDescriptors);

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

struct Closed {
    const char* name;
    unsigned descriptors;
};

void PrintTo(const Closed& row, std::ostream* out)
{
    *out << row.name;
}

class StandardDescriptors : public testing::TestWithParam<Closed> {
protected:
    StandardDescriptors()
    {
        emptyDirectory("/appliance");
        for (int fd = 0; fd <= 2; ++fd) {
            writeFile(ownFile + std::to_string(fd), "");
        }
    }

    /// Returns the four lines for a child in which the closed descriptors are now open like this.
    static std::string openedAs(const std::string& description)
    {
        std::string report;
        for (int fd = 0; fd <= 2; ++fd) {
            const bool wasClosed = (GetParam().descriptors >> fd & 1U) != 0;
            report += wasClosed ? description : "its own file, writable, readable";
            report += '\n';
        }
        return report + "closed\n";
    }
};

TEST_P(StandardDescriptors, AreOpenedOnTheNullDeviceIfClosed)
{
    EXPECT_EQ(openInChild(GetParam().descriptors, true),
              openedAs("null device, writable, readable"));
}

TEST_P(StandardDescriptors, AreOpenedOnTheRootDirectoryWithoutANullDevice)
{
    EXPECT_EQ(openInChild(GetParam().descriptors, false),
              openedAs("root directory, refuses writing, refuses reading by EISDIR"));
}

const Closed rows[] = {
    {"None", 0b000}, {"Zero", 0b001},       {"One", 0b010},       {"ZeroAndOne", 0b011},
    {"Two", 0b100},  {"ZeroAndTwo", 0b101}, {"OneAndTwo", 0b110}, {"All", 0b111},
};

INSTANTIATE_TEST_SUITE_P(, StandardDescriptors, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

}  // namespace
