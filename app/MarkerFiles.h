// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include "app/Mode.h"

/// Returns decoder if /config/DECODER can be opened for reading, else encoder if /config/ENCODER
/// can, else noMode. The contents are not read.
[[nodiscard]] Mode probeMarkerFiles();
