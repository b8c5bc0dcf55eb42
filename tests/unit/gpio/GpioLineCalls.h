// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <string>

#include "tests/unit/gpio/GpioLineFixture.h"

/// Each operation as the sequence of calls that it makes, with the time that it takes.
class GpioLineCalls : public GpioLineFixture {
protected:
    /// Returns the calls of an operation, with "true" or "false" as the last line.
    std::string callsOf(const std::function<bool()>& operation);

    GpioLine line;
};

std::string times(int count, const std::string& text);
std::string attributeWritten(const std::string& attribute, const std::string& text);

// What line 17 is asked for.

inline const std::string noneClosed = "close descriptor -1 = EBADF\n";
inline const std::string present = "opendir /sys/class/gpio/gpio17\n";
inline const std::string exported = "opendir /sys/class/gpio/gpio17 = ENOENT\n"
                                    "fopen /sys/class/gpio/export w\n"
                                    "write /sys/class/gpio/export \"17\"\n"
                                    "fclose /sys/class/gpio/export\n";
inline const std::string opened = "usleep 20000\n"
                                  "open /sys/class/gpio/gpio17/value O_RDWR\n";
inline const std::string notOpened = "usleep 20000\n"
                                     "open /sys/class/gpio/gpio17/value O_RDWR = ENOENT\n";
inline const std::string closed = "close /sys/class/gpio/gpio17/value\n";
inline const std::string levelRead = "lseek /sys/class/gpio/gpio17/value start\n"
                                     "read /sys/class/gpio/gpio17/value \"0\\n\"\n";
inline const std::string highWritten = "write /sys/class/gpio/gpio17/value \"1\"\n";
inline const std::string lowWritten = "write /sys/class/gpio/gpio17/value \"0\"\n";
inline const std::string clockRead = "system clock\n";
inline const std::string madeInput = attributeWritten("direction", "in") + levelRead;
