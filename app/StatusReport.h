// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <ostream>

#include "app/Mode.h"

/// Prints what was found and decided, a line an item, each line one insertion and flushed.
///
///    hardware      a Mode; below 0: could not be determined
///    overrideFile  a Mode; below 0: no marker file
///    parameter     a Mode, parameterFlip or parameterNone
///    configValue   a Mode; noMode: unknown; modeNotRead: its line is left out
///    newValue      a Mode; noMode: not specified; below: its line is left out
///
/// Returns the stream. Any other value is the caller's error.
std::ostream& printStatusReport(Mode hardware, Mode overrideFile, std::int32_t parameter,
                                Mode configValue, Mode newValue, std::ostream& out);
