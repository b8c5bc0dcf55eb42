// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include "tests/appliance/Files.h"
#include "tests/unit/app/RunKinds.h"
#include "tests/unit/effects/Effects.h"

// The memory that a run allocates.
namespace {

/// The number of allocations by the code under test that succeed before one fails; all of them if
/// it is negative. The one that fails makes it -1.
long allocationsLeft = -1;

/// The largest number of bytes that the code under test allocated at once. A test resets it.
std::size_t largestAllocation = 0;

}  // namespace

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

// Inlined into a caller of new, std::free would look like a mismatch to g++.
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
// NOLINTEND(cppcoreguidelines-no-malloc)

namespace {

/// The exit status at the end of the effects of a run.
std::string exitOf(const std::string& effects)
{
    return effects.substr(effects.rfind("exit "));
}

class Exception : public testing::TestWithParam<RunKind> {};

// Nothing catches an exception, so that it ends the process by a signal and never by an exit status
// that would stand for a mode. But a stream keeps an exception that it meets for itself: then its
// text is lost, and the run goes on to its own status.
TEST_P(Exception, OfAnyAllocationLeavesMain)
{
    const RunKind& kind = GetParam();
    bool failed = true;
    for (long allocation = 0; failed; ++allocation) {
        SCOPED_TRACE(allocation);
        ASSERT_LT(allocation, 10'000);
        allocationsLeft = allocation;
        try {
            EXPECT_EQ(exitOf(runOf(kind)), exitOf(kind.effects));
        } catch (const std::bad_alloc&) {
        }
        failed = allocationsLeft < 0;
        allocationsLeft = -1;
    }
}

INSTANTIATE_TEST_SUITE_P(, Exception, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

// The text is complete before the temporary file is opened: nothing as large is allocated any more.
TEST(RunThatUpdatesALargeFile, CreatesTheTemporaryFileAfterTheLastLargeAllocation)
{
    resetAppliance();
    const std::string filling(9'900, 'x');
    writeFile(configPath, R"({"App":{"isEncoder":false},"a":")" + filling + "\"}");
    Effects effects;
    std::size_t largestBefore = 0;
    largestAllocation = 0;
    effects.before = [&](const std::string& effect) {
        if (effect == "create /appliance/config.json.filsec") {
            largestBefore = largestAllocation;
            largestAllocation = 0;
        }
        return 0;
    };

    EXPECT_TRUE(runProgram(effects, {configPath}).ends_with("exit 1\n"));
    EXPECT_GE(largestBefore, filling.size());
    EXPECT_LT(largestAllocation, filling.size());
}

}  // namespace
