// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// The number of allocations by the code under test that succeed before one fails; all of them if
/// it is negative. The one that fails makes it -1.
extern long allocationsLeft;
