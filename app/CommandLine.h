// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "app/Mode.h"

/// As the first parameter: report without a file. As the second: report without writing.
inline constexpr char queryParameter[] = "-query";

/// The meaning of the second parameter.
struct Option {
    std::int32_t parameter = parameterNone;  ///< a Mode, parameterFlip or parameterNone
    bool query = false;                      ///< report only, without an override
};

/// Returns the last component of the program's own path: the text after the last "/" or "\". The
/// name is empty if the path is null or ends in a separator.
[[nodiscard]] std::string programName(const char* path);

/// Parses the second parameter: "-enc", "-dec", "-flip" or "-query", compared whole and
/// case-sensitively. Returns nullopt for anything else.
[[nodiscard]] std::optional<Option> parseOption(const std::string& text);

/// Writes the banner and the usage text, and flushes.
void printUsage(const std::string& programName, std::ostream& out);
