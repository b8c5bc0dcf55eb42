// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/ByteSet.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ByteSet, HoldsEachByteAloneWhateverItsSign)
{
    for (int number = 0; number < 256; ++number) {
        const char byte = static_cast<char>(number);
        const ByteSet set(std::string(1, byte));
        for (int other = 0; other < 256; ++other) {
            EXPECT_EQ(set.contains(static_cast<char>(other)), other == number);
        }
    }
}

}  // namespace
