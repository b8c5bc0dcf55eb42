// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/json/CheckedMemory.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace {

// The address sanitizer sees more, and the fence would be in its way.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool fenced = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool fenced = false;
#else
constexpr bool fenced = true;
#endif
#else
constexpr bool fenced = true;
#endif

constexpr unsigned char junk = 0xa5;
using Fence = std::array<unsigned char, 8>;
constexpr Fence fence = {0xfe, 0x4c, 0xe0, junk, junk, 0xfe, 0x4c, 0xe0};

/// Stands in front of a block and keeps its alignment.
struct alignas(std::max_align_t) Header {
    std::size_t size;
};

std::int64_t live = 0;
std::size_t largestBlock = std::numeric_limits<std::size_t>::max();

void* take(std::size_t size)
{
    auto* const header = static_cast<Header*>(std::malloc(sizeof(Header) + size + sizeof(Fence)));
    if (header == nullptr) {
        return nullptr;
    }
    header->size = size;
    auto* const block = reinterpret_cast<unsigned char*>(header + 1);
    std::memset(block, junk, size);
    std::copy(fence.begin(), fence.end(), block + size);
    return block;
}

void giveBack(void* memory)
{
    auto* const block = static_cast<unsigned char*>(memory);
    auto* const header = static_cast<Header*>(memory) - 1;
    if (!std::equal(fence.begin(), fence.end(), block + header->size)) {
        (void)std::fputs("Something was written past the end of a block of memory.\n", stderr);
        std::abort();
    }
    std::memset(block, junk, header->size);
    std::free(header);
}

}  // namespace

std::int64_t liveBlocks()
{
    return live;
}

MemoryLimit::MemoryLimit(std::size_t bytes)
{
    largestBlock = bytes;
}

MemoryLimit::~MemoryLimit()
{
    largestBlock = std::numeric_limits<std::size_t>::max();
}

// The forms for arrays and those that do not throw come down to these.

void* operator new(std::size_t size)
{
    if (size > largestBlock) {
        throw std::bad_alloc();
    }
    void* const block = fenced ? take(size) : std::malloc(std::max<std::size_t>(size, 1));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++live;
    return block;
}

void operator delete(void* block) noexcept
{
    if (block == nullptr) {
        return;
    }
    --live;
    if (fenced) {
        giveBack(block);
    } else {
        std::free(block);
    }
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    operator delete(block);
}
