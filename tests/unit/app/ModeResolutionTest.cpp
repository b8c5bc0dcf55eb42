// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/ModeResolution.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

// Exit statuses and JSON values rest on these numbers.
static_assert(decoder == 0 && encoder == 1 && noMode == -1 && modeNotRead == -2);
static_assert(parameterNone == -1 && parameterFlip == 2);

static_assert(std::string_view(modeName(0)) == "Decoder");
static_assert(std::string_view(modeName(1)) == "Encoder");
static_assert(otherMode(0) == 1 && otherMode(1) == 0);

/// Stands for every value that a source can have.
constexpr int any = 100;
/// Stands, as an expected mode, for the one that the configuration file does not record.
constexpr int notTheFiles = 101;

struct Rule {
    const char* name;
    int parameter;
    int overrideFile;
    int hardware;
    int expected;
};

// Read from the top; the first rule that applies holds.
constexpr Rule rules[] = {
    {"-enc", 1, any, any, 1},
    {"-dec", 0, any, any, 0},
    {"-flip", 2, any, any, notTheFiles},
    {"marker file DECODER", -1, 0, any, 0},
    {"marker file ENCODER", -1, 1, any, 1},
    {"switch at decoder", -1, -1, 0, 0},
    {"switch at encoder", -1, -1, 1, 1},
    {"nothing decides", -1, -1, -1, -1},
};

struct Combination {
    int parameter;
    int overrideFile;
    int hardware;
    int configValue;
};

constexpr bool fits(int pattern, int value)
{
    return pattern == any || pattern == value;
}

constexpr const Rule& ruleFor(const Combination& sources)
{
    const Rule* rule = rules;
    while (!fits(rule->parameter, sources.parameter) ||
           !fits(rule->overrideFile, sources.overrideFile) ||
           !fits(rule->hardware, sources.hardware)) {
        ++rule;
    }
    return *rule;
}

constexpr int expectedMode(const Combination& sources)
{
    const int expected = ruleFor(sources).expected;
    return expected == notTheFiles ? 1 - sources.configValue : expected;
}

constexpr int resolved(const Combination& sources)
{
    return resolveMode({sources.parameter, sources.overrideFile, sources.hardware},
                       sources.configValue);
}

/// Calls the function with each of the 72 combinations.
template <typename Function>
constexpr void forEachCombination(Function function)
{
    for (int parameter = -1; parameter <= 2; ++parameter) {
        for (int overrideFile = -1; overrideFile <= 1; ++overrideFile) {
            for (int hardware = -1; hardware <= 1; ++hardware) {
                for (int configValue = 0; configValue <= 1; ++configValue) {
                    function(Combination{parameter, overrideFile, hardware, configValue});
                }
            }
        }
    }
}

constexpr int countRight()
{
    int right = 0;
    forEachCombination([&right](const Combination& sources) {
        right += resolved(sources) == expectedMode(sources) ? 1 : 0;
    });
    return right;
}

static_assert(countRight() == 72, "some combination of sources does not follow the rules");

// The same once more, as it runs, and with names.
TEST(ModeResolution, FollowsTheRulesInEveryCombination)
{
    forEachCombination([](const Combination& sources) {
        EXPECT_EQ(resolved(sources), expectedMode(sources))
            << ruleFor(sources).name << ": parameter " << sources.parameter << ", marker file "
            << sources.overrideFile << ", switch " << sources.hardware << ", file "
            << sources.configValue;
    });
}

TEST(ModeResolution, HasNoSourceUnlessSaidSo)
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
