// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include "app/Mode.h"

/// The sources of the decision, strongest first.
struct ModeSources {
    std::int32_t parameter = parameterNone;  ///< a Mode, parameterFlip or parameterNone
    Mode overrideFile = noMode;              ///< the mode of the marker file, or noMode
    Mode hardware = noMode;                  ///< the mode of the switch, or noMode
};

/// Returns the mode that the appliance must be in, given the mode that the configuration file
/// records, or noMode if no source decides. The first rule that applies holds:
///
///    parameter       marker file   switch      mode
///    -enc            any           any         encoder
///    -dec            any           any         decoder
///    -flip           any           any         the mode that the file does not record
///    none, -query    DECODER       any         decoder
///    none, -query    ENCODER       any         encoder
///    none, -query    none          readable    the switch's
///    none, -query    none          unknown     noMode
[[nodiscard]] constexpr Mode resolveMode(const ModeSources& sources, Mode configValue)
{
    if (sources.parameter == parameterFlip) {
        return otherMode(configValue);
    }
    if (sources.parameter != parameterNone) {
        return sources.parameter;
    }
    if (sources.overrideFile != noMode) {
        return sources.overrideFile;
    }
    return sources.hardware;
}
