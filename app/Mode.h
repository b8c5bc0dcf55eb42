// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// What the appliance works as: decoder or encoder, or, where a mode is only sought, one of the
/// markers below.
using Mode = std::int32_t;

inline constexpr Mode decoder = 0;
inline constexpr Mode encoder = 1;
inline constexpr Mode noMode = -1;       ///< unknown, or not specified
inline constexpr Mode modeNotRead = -2;  ///< never looked for

/// The name of a mode, for people.
/// REQUIRES: the mode is decoder or encoder.
[[nodiscard]] constexpr const char* modeName(Mode mode)
{
    constexpr std::array<const char*, 2> names = {"Decoder", "Encoder"};
    return names[static_cast<std::size_t>(mode)];
}

/// Encoder for decoder and the other way round.
[[nodiscard]] constexpr Mode otherMode(Mode mode)
{
    return 1 - mode;
}
