// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include "app/CommandLine.h"
#include "app/Mode.h"

/// What decides the mode, strongest first.
struct ModeSources {
    std::int32_t parameter = parameterNone;  ///< a Mode, parameterFlip or parameterNone
    Mode overrideFile = noMode;              ///< the mode of the marker file, or noMode
    Mode hardware = noMode;                  ///< the mode of the switch, or noMode
};

/// The mode that the appliance must be in, given the one that the configuration file records; or
/// noMode where nothing decides. The first rule that applies holds:
///
///    parameter       marker file   switch      mode
///    -enc            any           any         encoder
///    -dec            any           any         decoder
///    -flip           any           any         the one that the file does not record
///    none, -query    DECODER       any         decoder
///    none, -query    ENCODER       any         encoder
///    none, -query    none          readable    the switch's
///    none, -query    none          unknown     none
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
