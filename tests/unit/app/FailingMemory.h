// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

/// The number of allocations by the code under test that succeed before one fails; all of them if
/// it is negative. The one that fails makes it -1.
extern long allocationsLeft;

/// The largest number of bytes that the code under test allocated at once. A test resets it.
extern std::size_t largestAllocation;
