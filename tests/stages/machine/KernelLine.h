// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "gpio/GpioFile.h"

// The kernel's files of line 17.
inline const std::string root = gpioRoot;
inline const std::string lineFolder = root + "gpio17";
inline const std::string valueFile = lineFolder + "/value";
inline const std::string directionFile = lineFolder + "/direction";
inline const std::string edgeFile = lineFolder + "/edge";

/// Writes the text to the kernel's file, which must accept it.
void set(const std::string& path, const std::string& text);

/// Makes the line an input without edges that is not exported.
void takeBackExport();
