// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <ostream>
#include <string>

#include "app/ModeResolution.h"

/// The streams that a run writes to: two logs, and a plain stream for the status report.
struct OutputStreams {
    std::ostream& error;
    std::ostream& info;
    std::ostream& report;
};

/// Removes leading and trailing bytes of value 32 or less.
void trimText(std::string& text);

/// Sets App/isEncoder in the JSON configuration file of this path to the mode that the sources
/// decide, and prints the status report. A query only reports.
///
/// Returns the mode, exitQueried for a query, or the ExitStatus of the failure, after one line on
/// the error log. The file either keeps its contents or is replaced atomically (see ReplacingFile).
[[nodiscard]] int updateConfig(const std::string& path, const ModeSources& sources, bool query,
                               const OutputStreams& output);
