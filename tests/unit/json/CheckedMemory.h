// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>

// Linking this replaces operator new and delete in the whole executable. A write past the end of a
// block ends the process, at the latest when the block is released. A block holds junk before it is
// written to and after it is released.

/// How many blocks are allocated and not released.
[[nodiscard]] std::int64_t liveBlocks();

/// As long as it lives, the allocation of a larger block than this throws std::bad_alloc.
class MemoryLimit {
public:
    explicit MemoryLimit(std::size_t bytes);
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;
};
