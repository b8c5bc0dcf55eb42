// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <string_view>

#include "tests/appliance/PrivateRoot.h"

// Every test runs in a private root, so that it may use the product's fixed paths.
int main(int argc, char** argv)
{
    const bool listing = argc > 1 && std::string_view(argv[1]).starts_with("--gtest_list_tests");
    if (!listing) {
        enterPrivateRoot(argv);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
