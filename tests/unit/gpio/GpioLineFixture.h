// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "gpio/GpioLine.h"
#include "tests/unit/gpio/KernelCalls.h"

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

inline const std::string root = "/sys/class/gpio/";
inline const std::string lineDirectory = root + "gpio17";
inline const std::string valueFile = lineDirectory + "/value";
inline const std::string directionFile = lineDirectory + "/direction";

bool isOpen(int descriptor);

/// Replaces the file by a directory, which cannot be opened for writing.
void replaceByDirectory(const std::string& path);

/// Until destroyed, limits the size of the files that this process writes (setrlimit(2)).
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*handlerBefore)(int);
    rlimit before{};
};

/// Detects any access to the files in some directories (inotify(7)).
class Watch {
public:
    explicit Watch(const std::vector<std::string>& directories);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    [[nodiscard]] bool sawAccess() const;

private:
    int fd;
};

/// Plain files in place of the kernel's, with line 17 exported as an input at level 0. Each suite
/// derives from it and is named after what it tests of a GpioLine.
class GpioLineFixture : public testing::Test {
protected:
    GpioLineFixture();

    static void makeLine(std::int32_t number, const std::string& value = "0\n");

    /// Opens line 17 as an output whose value file is empty, so that it then holds only the levels
    /// that are written.
    static void openOutput(GpioLine& line);

    /// Opens line 17 as an output that refuses every level.
    static void openRefusingOutput(GpioLine& line);

    KernelCalls calls;
};
