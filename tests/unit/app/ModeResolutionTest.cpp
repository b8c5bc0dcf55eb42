// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/ModeResolution.h"

#include <gtest/gtest.h>

#include <string_view>

#include "tests/appliance/ExpectedMode.h"

namespace {

// Exit statuses and JSON values depend on these numbers.
static_assert(decoder == 0 && encoder == 1 && noMode == -1 && modeNotRead == -2);
static_assert(parameterNone == -1 && parameterFlip == 2);

static_assert(std::string_view(modeName(0)) == "Decoder");
static_assert(std::string_view(modeName(1)) == "Encoder");
static_assert(otherMode(0) == 1 && otherMode(1) == 0);

constexpr int resolved(const expected::Deciders& deciders, int configValue)
{
    return resolveMode({deciders.parameter, deciders.markerFile, deciders.hardware}, configValue);
}

/// Calls the function with each of the 72 combinations.
template <typename Function>
constexpr void forEachCombination(Function function)
{
    for (int parameter = -1; parameter <= 2; ++parameter) {
        for (int markerFile = -1; markerFile <= 1; ++markerFile) {
            for (int hardware = -1; hardware <= 1; ++hardware) {
                for (int configValue = 0; configValue <= 1; ++configValue) {
                    function(expected::Deciders{parameter, markerFile, hardware}, configValue);
                }
            }
        }
    }
}

constexpr int countRight()
{
    int right = 0;
    forEachCombination([&right](const expected::Deciders& deciders, int configValue) {
        right += resolved(deciders, configValue) == expected::mode(deciders, configValue) ? 1 : 0;
    });
    return right;
}

static_assert(countRight() == 72, "some combination of sources does not follow the rules");

// The same at run time, with names.
TEST(ModeResolution, FollowsTheRulesInEveryCombination)
{
    forEachCombination([](const expected::Deciders& deciders, int configValue) {
        EXPECT_EQ(resolved(deciders, configValue), expected::mode(deciders, configValue))
            << expected::ruleFor(deciders).name << ": parameter " << deciders.parameter
            << ", marker file " << deciders.markerFile << ", switch " << deciders.hardware
            << ", configuration file " << configValue;
    });
}

TEST(ModeResolution, HasNoSourceByDefault)
{
    EXPECT_EQ(resolveMode({}, 0), -1);
    EXPECT_EQ(resolveMode({}, 1), -1);
}

TEST(Mode, HasANameAndAnOther)
{
    EXPECT_STREQ(modeName(decoder), "Decoder");
    EXPECT_STREQ(modeName(encoder), "Encoder");
    EXPECT_EQ(otherMode(decoder), encoder);
    EXPECT_EQ(otherMode(encoder), decoder);
}

}  // namespace
