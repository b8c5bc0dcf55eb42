// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

/// Where the kernel's GPIO files are, with the slash at its end (Documentation/ABI/obsolete/
/// sysfs-gpio in the kernel's sources).
inline constexpr char gpioRoot[] = "/sys/class/gpio/";

/// The folder of a line under the root, without slashes: "gpio17".
[[nodiscard]] std::string gpioLineFolder(std::int32_t lineNumber);

/// Writes the text over the file of this name under the root. Returns false when the file could
/// not be opened for writing or the stream did not take the text. What the kernel says only when
/// the bytes reach it, at the close, is not looked at, on purpose.
[[nodiscard]] bool writeGpioFile(const std::string& name, const std::string& text);

/// Writes the text over an attribute of a line, "direction" say, likewise.
[[nodiscard]] bool writeGpioAttribute(std::int32_t lineNumber, const std::string& attribute,
                                      const std::string& text);
