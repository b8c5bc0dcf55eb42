// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/RunKind.h"

/// Runs with a shared object of preload/ in place, which strikes its calls from the first to the
/// last of these ordinals. No core file is left.
RunResult runWithPreload(Appliance& appliance, const RunKind& kind, const std::string& object,
                         int first, int last);

/// How many such calls an undisturbed run of the kind makes.
int preloadedCallsOf(const RunKind& kind, const std::string& object);
