// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

// Linking this replaces operator new and delete in the whole executable. A write behind the end of
// a block ends the process, at the latest when the block is given back; what a block holds before
// it is written to, and after it was given back, is of no use to anybody.

/// How many blocks are taken and not given back.
[[nodiscard]] std::int64_t liveBlocks();
