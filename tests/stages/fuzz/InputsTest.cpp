// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/fuzz/Inputs.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/stages/fuzz/Oracles.h"

// What the fuzzers begin with and what they have found, through the same oracles.
namespace {

std::vector<Input> allInputs()
{
    std::vector<Input> inputs = seeds();
    for (const Input& regression : regressions()) {
        inputs.push_back(regression);
    }
    return inputs;
}

TEST(Inputs, HaveNamesOfTheirOwn)
{
    std::set<std::string> names;
    for (const Input& input : allInputs()) {
        EXPECT_TRUE(names.insert(input.name).second) << input.name;
    }
}

TEST(Inputs, AreReadAsPromised)
{
    for (const Input& input : allInputs()) {
        SCOPED_TRACE(input.name);
        EXPECT_EQ(tryParse(input.text), "");
    }
}

TEST(Inputs, AreWrittenAndReadAgain)
{
    for (const Input& input : allInputs()) {
        SCOPED_TRACE(input.name);
        EXPECT_EQ(tryRewrite(input.text), "");
    }
}

TEST(Inputs, AreUpdatedAsForetold)
{
    const std::vector<std::string> choices = updateChoices();
    std::size_t next = 0;
    for (const Input& input : allInputs()) {
        for (int times = 0; times < 10; ++times) {
            // A step that has no factor in common with their number comes by all of them.
            next = (next + 77) % choices.size();
            SCOPED_TRACE(input.name + ", choice " + std::to_string(next));
            EXPECT_EQ(tryUpdate(choices[next] + input.text), "");
        }
    }
}

TEST(Update, EndsAsForetoldWhateverDecidesAndWhateverStandsInTheWay)
{
    for (const std::string& choice : updateChoices()) {
        for (const std::string flag : {"false", "true"}) {
            SCOPED_TRACE(testing::PrintToString(choice) + flag);
            EXPECT_EQ(tryUpdate(choice + "{\"App\":{\"isEncoder\":" + flag + "}}"), "");
        }
    }
}

}  // namespace
