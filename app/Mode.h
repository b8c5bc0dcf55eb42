// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The mode of the appliance. The negative values mean that it is unknown or was not read.
using Mode = std::int32_t;

inline constexpr Mode decoder = 0;
inline constexpr Mode encoder = 1;
inline constexpr Mode noMode = -1;       ///< unknown or not specified
inline constexpr Mode modeNotRead = -2;  ///< the configuration file was not read

// The override of the command line is a Mode to force, or one of these.
inline constexpr std::int32_t parameterNone = -1;  ///< no override
inline constexpr std::int32_t parameterFlip = 2;   ///< the mode that the file does not record

/// Returns the name that messages use.
/// REQUIRES: the mode is decoder or encoder.
[[nodiscard]] constexpr const char* modeName(Mode mode)
{
    constexpr std::array<const char*, 2> names = {"Decoder", "Encoder"};
    return names[static_cast<std::size_t>(mode)];
}

/// Returns encoder for decoder, and decoder for encoder.
/// REQUIRES: the mode is decoder or encoder.
[[nodiscard]] constexpr Mode otherMode(Mode mode)
{
    return 1 - mode;
}
