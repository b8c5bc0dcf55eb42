// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "tests/appliance/PrivateRoot.h"

namespace fs = std::filesystem;

namespace {

/// Fails each test after which other descriptors are open than before it.
class OpenDescriptors : public testing::EmptyTestEventListener {
public:
    void OnTestStart(const testing::TestInfo& /*test*/) override { before = now(); }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { EXPECT_EQ(now(), before); }

private:
    using Descriptors = std::map<std::string, std::string>;

    /// By number, what each is of; but for the one that lists them.
    static Descriptors now()
    {
        Descriptors open;
        for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
            const std::string what = fs::read_symlink(entry);
            if (!what.ends_with("/fd")) {
                open[entry.path().filename()] = what;
            }
        }
        return open;
    }

    Descriptors before;
};

}  // namespace

// Every test runs in a private root, so that it may use the product's fixed paths.
int main(int argc, char** argv)
{
    const bool listing = argc > 1 && std::string_view(argv[1]).starts_with("--gtest_list_tests");
    if (!listing) {
        enterPrivateRoot(argv);
    }
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new OpenDescriptors);
    return RUN_ALL_TESTS();
}
