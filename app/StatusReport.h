// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <ostream>

#include "app/Mode.h"

/// Prints the findings and the decision, one item per line. Each line is a single insertion and is
/// flushed.
///
///    hardware      a Mode; negative: could not be determined
///    overrideFile  a Mode; negative: no marker file
///    parameter     a Mode, parameterFlip or parameterNone
///    configValue   a Mode; noMode: unknown; modeNotRead: the line is left out
///    newValue      a Mode; noMode: not specified; below noMode: the line is left out
///
/// Returns the stream.
/// REQUIRES: no other values.
std::ostream& printStatusReport(Mode hardware, Mode overrideFile, std::int32_t parameter,
                                Mode configValue, Mode newValue, std::ostream& out);
