// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/fuzz/Inputs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/stages/fuzz/Oracles.h"

// The seed corpus, with the same oracles.
namespace {

TEST(Inputs, AreParsedAndWrittenAsPromised)
{
    for (const Input& input : documents()) {
        SCOPED_TRACE(input.name);
        EXPECT_EQ(checkDocument(input.text), "");
    }
}

TEST(Inputs, AreUpdatedAsExpected)
{
    const std::vector<std::string> choices = updateChoices();
    std::size_t next = 0;
    for (const Input& input : configurations()) {
        for (int times = 0; times < 3; ++times) {
            // The step and the number of choices are coprime, so that all of them are visited.
            next = (next + 77) % choices.size();
            SCOPED_TRACE(input.name + ", choice " + std::to_string(next));
            EXPECT_EQ(checkUpdate(choices[next] + input.text), "");
        }
    }
}

TEST(Update, EndsAsExpectedWithEveryChoice)
{
    for (const std::string& choice : updateChoices()) {
        for (const std::string flag : {"false", "true"}) {
            SCOPED_TRACE(testing::PrintToString(choice) + flag);
            EXPECT_EQ(checkUpdate(choice + "{\"App\":{\"isEncoder\":" + flag + "}}"), "");
        }
    }
}

}  // namespace
