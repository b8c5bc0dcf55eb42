// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"

/// Runs the program, and expects all of this: the status, both outputs, the records, and the bytes
/// of the configuration file, which is the first argument. The appliance's other files stay as they
/// are, but for "in" in the direction of line 17 if the run gets so far.
void expectRun(Appliance& appliance, const std::vector<std::string>& arguments,
               const expected::Run& expectedRun, const RunOptions& options = {});

/// The same, as the reference says for these sources.
void expectRun(Appliance& appliance, const expected::Sources& sources,
               const RunOptions& options = {});
