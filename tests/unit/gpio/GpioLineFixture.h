// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <type_traits>

#include "gpio/GpioLine.h"
#include "tests/appliance/Files.h"
#include "tests/unit/effects/Effects.h"

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

inline const std::string root = "/sys/class/gpio/";
inline const std::string lineDirectory = root + "gpio17";
inline const std::string valueFile = lineDirectory + "/value";
inline const std::string directionFile = lineDirectory + "/direction";

// Effects on line 17, as effectsOf returns them.

inline const std::string present = "look for gpio17\n";
inline const std::string opened = "wait 0.020000000\n"
                                  "look for gpio17/value\n";
inline const std::string lowRead = "read gpio17/value \"0\\n\"\n";
inline const std::string lowWritten = "write gpio17/value \"0\"\n";
inline const std::string highWritten = "write gpio17/value \"1\"\n";

/// The direction, which is not empty, is replaced by a word.
inline std::string directionWritten(const std::string& word)
{
    return "empty gpio17/direction\nwrite gpio17/direction \"" + word + "\"\n";
}

inline const std::string madeInput = directionWritten("in") + lowRead;

/// The last line for the result true and this state of the line.
inline std::string succeeds(int value, int mode)
{
    return "true, value " + std::to_string(value) + ", mode " + std::to_string(mode) + "\n";
}

/// The last line for the result false.
inline std::string fails(int value, int mode)
{
    return "false, value " + std::to_string(value) + ", mode " + std::to_string(mode) + "\n";
}

inline bool isOpen(int descriptor)
{
    return fcntl(descriptor, F_GETFD) != -1;
}

/// Replaces the file by a directory, which cannot be opened for writing.
inline void replaceByDirectory(const std::string& path)
{
    std::filesystem::remove_all(path);
    std::filesystem::create_directory(path);
}

/// Plain files in place of the kernel's, with line 17 exported as an input at level 0. Each suite
/// derives from it and is named after what it tests of a GpioLine.
class GpioLineFixture : public testing::Test {
protected:
    GpioLineFixture()
    {
        emptyDirectory(root);
        writeFile(root + "export", "");
        writeFile(root + "unexport", "");
        makeLine(17);
    }

    static void makeLine(std::int32_t number, const std::string& value = "0\n")
    {
        const std::string directory = root + "gpio" + std::to_string(number);
        std::filesystem::create_directories(directory);
        writeFile(directory + "/value", value);
        writeFile(directory + "/direction", "in\n");
    }

    /// Opens line 17 as an output at level 0 whose value file is empty, so that it then holds only
    /// the levels that are written.
    void openOutput()
    {
        line.close();
        writeFile(valueFile, "");
        effects.record([this] { ASSERT_TRUE(line.init(17, GpioLine::requestLow)); });
    }

    /// Returns the effects of an operation, with paths relative to the root, and as the last line
    /// its result, true if it has none, and the state of the line.
    template <typename Operation>
    std::string effectsOf(const Operation& operation)
    {
        bool result = true;
        std::string text = effects.record([&] {
            if constexpr (std::is_void_v<decltype(operation())>) {
                operation();
            } else {
                result = operation();
            }
        });
        for (std::size_t at = 0; (at = text.find(root, at)) != std::string::npos;) {
            text.erase(at, root.size());
        }
        return text + (result ? succeeds(line.lastValue(), line.currentMode())
                              : fails(line.lastValue(), line.currentMode()));
    }

    /// The descriptor of the value file that was opened last.
    [[nodiscard]] int descriptor() const
    {
        int last = -1;
        for (const Effects::Opening& opening : effects.openings) {
            last = opening.path.ends_with("/value") ? opening.descriptor : last;
        }
        return last;
    }

    Effects effects;
    GpioLine line;
};
