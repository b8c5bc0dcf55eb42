// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <ostream>

#include "app/Mode.h"

/// Returns the mode that the hardware switch on GPIO line 17 selects: decoder if the line is high,
/// encoder if it is low. If the line cannot be set up or read, writes one line to the error log and
/// returns noMode. The line stays exported.
[[nodiscard]] Mode readHardwareSwitch(std::ostream& errorLog);
