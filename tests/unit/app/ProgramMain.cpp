// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/app/ProgramMain.h"

#include "app/StandardDescriptors.h"
#include "app/SwitchQuerier.h"

// A test program has a main of its own.
#define main programMain
#include "app/main.cpp"  // NOLINT(bugprone-suspicious-include): for that name
