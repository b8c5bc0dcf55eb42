// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Scenario.h"

/// Runs with a shared object of preload/, which fails its calls from the first to the last of these
/// ordinals.
RunResult runWithPreload(Appliance& appliance, const Scenario& scenario, const std::string& object,
                         int first, int last);

/// How many such calls a run of the scenario makes without a fault.
int preloadedCallsOf(const Scenario& scenario, const std::string& object);
