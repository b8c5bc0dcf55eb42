// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <ostream>

#include "app/Mode.h"

/// The mode that the hardware switch on GPIO line 17 selects: decoder when the line is high,
/// encoder when it is low. Where the line cannot be set up or read, one line on the error log says
/// so and the result is noMode. The line stays exported.
[[nodiscard]] Mode readHardwareSwitch(std::ostream& errorLog);
