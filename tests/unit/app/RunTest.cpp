// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>

#include "tests/unit/app/RunKinds.h"

// A whole run as the sequence of its effects.
namespace {

/// The text with each occurrence of one of its parts replaced.
std::string with(std::string text, std::string_view part, std::string_view replacement)
{
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos;
         at += replacement.size()) {
        text.replace(at, part.size(), replacement);
    }
    return text;
}

class Run : public testing::TestWithParam<RunKind> {};

TEST_P(Run, HasItsEffectsInOrder)
{
    EXPECT_EQ(runOf(GetParam()), GetParam().effects);
}

// Nothing is kept from one run to the next.
TEST_P(Run, IsTheSameAfterAnyOther)
{
    const std::string alone = runOf(GetParam(), "other");
    for (const RunKind& first : runKinds()) {
        SCOPED_TRACE(first.name);
        runOf(first, "/bin/first");

        EXPECT_EQ(runOf(GetParam(), "other"), alone);
    }
}

INSTANTIATE_TEST_SUITE_P(, Run, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

// Neither normalised nor resolved nor made absolute.
TEST(RunOnAPath, UsesItAsItIs)
{
    std::filesystem::remove("/tmp/link");
    std::filesystem::create_directory_symlink("/appliance", "/tmp/link");
    for (const std::string directory :
         {"/appliance/../appliance//./", "/tmp/link/", "./", "../appliance/"}) {
        for (const char* const name : {"UpdateBySwitch", "NotNeeded", "Unreadable"}) {
            SCOPED_TRACE(directory + ", " + name);
            RunKind kind = *std::find_if(runKinds().begin(), runKinds().end(),
                                         [&](const RunKind& one) { return one.name == name; });
            const std::string ordinary = runOf(kind);
            kind.arguments = {directory + "config.json"};

            EXPECT_EQ(runOf(kind), with(ordinary, "/appliance/", directory));
        }
    }
}

}  // namespace
