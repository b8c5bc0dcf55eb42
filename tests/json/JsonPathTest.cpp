// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

TEST(Placeholder, RunsInAPrivateRoot)
{
    EXPECT_EQ(0, 0);
}
