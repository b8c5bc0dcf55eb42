// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include "app/Mode.h"

/// The mode that the marker files ask for: decoder when /config/DECODER can be opened for reading,
/// else encoder when /config/ENCODER can, else noMode. What they hold is not looked at.
[[nodiscard]] Mode probeMarkerFiles();
