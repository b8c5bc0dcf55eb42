// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/app/FailingMemory.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "tests/unit/effects/Effects.h"

long allocationsLeft = -1;
std::size_t largestAllocation = 0;

// NOLINTBEGIN(cppcoreguidelines-no-malloc): this is what new and delete are made of
void* operator new(std::size_t size)
{
    if (Effects::active) {
        largestAllocation = std::max(largestAllocation, size);
    }
    const bool fails = Effects::active && allocationsLeft >= 0 && allocationsLeft-- == 0;
    void* const memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
// NOLINTEND(cppcoreguidelines-no-malloc)
