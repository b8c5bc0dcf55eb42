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
inline const std::string lineFolder = root + "gpio17";
inline const std::string valueFile = lineFolder + "/value";
inline const std::string directionFile = lineFolder + "/direction";

bool isOpen(int descriptor);

/// Puts a folder in place of the file, which can then not be opened for writing.
void replaceByFolder(const std::string& path);

/// Until the end of the block, no file of this process grows beyond so many bytes (setrlimit(2)).
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

/// Notices any use of the files in some folders.
class Watch {
public:
    explicit Watch(const std::vector<std::string>& folders);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    [[nodiscard]] bool sawUse() const;

private:
    int fd;
};

/// Plain files in place of the kernel's, with line 17 exported as an input that is low.
class GpioLineTest : public testing::Test {
protected:
    GpioLineTest();
    ~GpioLineTest() override;

    static void makeLine(std::int32_t number, const std::string& value = "0\n");

    /// Opens line 17 as an output whose value file is empty, so that it holds what is written
    /// later and nothing else.
    static void openOutput(GpioLine& line);

    /// Opens line 17 as an output that refuses each level.
    static void openRefusingOutput(GpioLine& line);

    KernelCalls calls;
};
