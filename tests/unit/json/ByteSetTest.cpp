// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/ByteSet.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string bytesIn(const ByteSet& set)
{
    std::string bytes;
    for (int number = 0; number < 256; ++number) {
        if (set.contains(static_cast<char>(number))) {
            bytes += static_cast<char>(number);
        }
    }
    return bytes;
}

TEST(ByteSet, HasTheBytesThatItWasMadeOf)
{
    for (const std::string& bytes : {std::string(), std::string(1, '\0'), std::string("\t\n\r "),
                                     std::string("\"\\a\x7f\x80\xff")}) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        EXPECT_EQ(bytesIn(ByteSet(bytes)), bytes);
    }
}

TEST(ByteSet, HasAByteThatIsAddedToTheOthers)
{
    ByteSet set("b");
    set.add('\xff');
    set.add('a');
    set.add('a');
    EXPECT_EQ(bytesIn(set), "ab\xff");
}

}  // namespace
