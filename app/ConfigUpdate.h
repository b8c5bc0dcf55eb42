// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <ostream>
#include <string>

#include "app/ModeResolution.h"

/// Where a run speaks to its user. Error and info are logs; the report goes to a plain stream.
struct RunOutput {
    std::ostream& error;
    std::ostream& info;
    std::ostream& report;
};

/// Removes the blanks and control bytes (32 and below) at the end and the beginning of the text.
void trimText(std::string& text);

/// Brings App/isEncoder in the JSON configuration file of this path to the mode that the sources
/// decide, and reports what was found. With a query it reports only.
///
/// Returns the mode, exitQueried for a query, or the ExitStatus of what failed, which one line on
/// the error log explains. The file either keeps its bytes or is replaced by the whole new text.
[[nodiscard]] int updateConfig(const std::string& path, const ModeSources& sources, bool query,
                               const RunOutput& output);
