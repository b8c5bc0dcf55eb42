// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <string>

#include "gpio/GpioLine.h"
#include "tests/unit/effects/Effects.h"

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

inline const std::string root = "/sys/class/gpio/";
inline const std::string lineDirectory = root + "gpio17";
inline const std::string valueFile = lineDirectory + "/value";
inline const std::string directionFile = lineDirectory + "/direction";

// Effects on line 17, as effectsOf returns them.

inline const std::string present = "look for gpio17\n";
inline const std::string exported = "look for gpio17: ENOENT\n"
                                    "look for export\n"
                                    "write export \"17\"\n";
inline const std::string opened = "wait 0.020000000\n"
                                  "look for gpio17/value\n";
inline const std::string notOpened = "wait 0.020000000\n"
                                     "look for gpio17/value: ENOENT\n";
inline const std::string lowRead = "read gpio17/value \"0\\n\"\n";
inline const std::string lowWritten = "write gpio17/value \"0\"\n";
inline const std::string highWritten = "write gpio17/value \"1\"\n";

/// The direction, which is not empty, is replaced by a word.
std::string directionWritten(const std::string& word);

inline const std::string madeInput = directionWritten("in") + lowRead;

std::string times(int count, const std::string& text);

bool isOpen(int descriptor);

/// Replaces the file by a directory, which cannot be opened for writing.
void replaceByDirectory(const std::string& path);

/// Plain files in place of the kernel's, with line 17 exported as an input at level 0. Each suite
/// derives from it and is named after what it tests of a GpioLine.
class GpioLineFixture : public testing::Test {
protected:
    GpioLineFixture();

    static void makeLine(std::int32_t number, const std::string& value = "0\n");

    /// Opens line 17 as an output at level 0 whose value file is empty, so that it then holds only
    /// the levels that are written.
    void openOutput();

    /// Returns the effects of an operation, with paths relative to the root, and as the last line
    /// its result and the state of the line.
    std::string effectsOf(const std::function<bool()>& operation);

    /// The last line for the result true.
    static std::string succeeds(int value, int mode);

    /// The last line for the result false.
    static std::string fails(int value, int mode);

    /// The descriptor of the value file that was opened last.
    [[nodiscard]] int descriptor() const;

    Effects effects;
    GpioLine line;
};
