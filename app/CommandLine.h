// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

/// The first parameter that stands for no file, and the second one that forbids writing.
inline constexpr char queryParameter[] = "-query";

// The override that the command line asks for: a Mode to force, or one of these.
inline constexpr std::int32_t parameterNone = -1;
inline constexpr std::int32_t parameterFlip = 2;  ///< the mode that the file does not record

/// What the second parameter says.
struct SecondParameter {
    std::int32_t parameter = parameterNone;
    bool query = false;  ///< report only; then there is no override
};

/// The last component of the program's own path, behind the last "/" or "\". Empty where the path
/// is null or ends in one of these.
[[nodiscard]] std::string programName(const char* path);

/// Reads the second parameter: "-enc", "-dec", "-flip" or "-query", to the letter. Anything else
/// gives nothing.
[[nodiscard]] std::optional<SecondParameter> readSecondParameter(const std::string& text);

/// Writes the banner and the usage text, and flushes.
void printUsage(const std::string& programName, std::ostream& out);
