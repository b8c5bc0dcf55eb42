// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

/// The directory of the kernel's GPIO files, with a final slash (see
/// Documentation/ABI/obsolete/sysfs-gpio in the kernel's sources).
inline constexpr char gpioRoot[] = "/sys/class/gpio/";

/// Returns the name of a line's directory under the root, without slashes: "gpio17".
[[nodiscard]] std::string gpioLineDirectory(std::int32_t lineNumber);

/// Truncates the file of this name under the root and writes the text to it. Returns false if the
/// file could not be opened for writing or the stream refused the text. Errors that the kernel
/// reports only at the close are ignored; that is intended.
[[nodiscard]] bool writeGpioFile(const std::string& name, const std::string& text);

/// Writes the text to an attribute of a line, such as "direction", as writeGpioFile does.
[[nodiscard]] bool writeGpioAttribute(std::int32_t lineNumber, const std::string& attribute,
                                      const std::string& text);
