// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/CommandLine.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/appliance/ExpectedRun.h"

namespace {

TEST(ProgramName, IsTheTextAfterTheLastSeparator)
{
    struct Row {
        const char* path;
        const char* name;
    };
    constexpr Row rows[] = {
        {nullptr, ""},    {"", ""},
        {"x", "x"},       {"/usr/bin/switch-querier", "switch-querier"},
        {"a/b\\c", "c"},  {"a\\b/c", "c"},
        {"\\c", "c"},     {"/", ""},
        {"a\\", ""},      {"a/b//", ""},
        {"a//b", "b"},    {"a/ b c ", " b c "},
        {"C:x", "C:x"},   {"-x", "-x"},
        {"lt-x", "lt-x"}, {"a/\xc3\xa4", "\xc3\xa4"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path == nullptr ? "(null)" : row.path);
        EXPECT_EQ(programName(row.path), row.name);
    }
}

TEST(ParseOption, KnowsTheParameters)
{
    for (const expected::Parameter& row : expected::parameters) {
        SCOPED_TRACE(row.name);
        const std::optional<Option> option = parseOption(row.name);
        ASSERT_TRUE(option.has_value());
        EXPECT_EQ(option->parameter, row.value);
        EXPECT_EQ(option->query, row.query);
    }
}

TEST(ParseOption, RefusesEveryOtherText)
{
    const std::string texts[] = {
        "",      "-",      "-Enc",  "-DEC",  "-Flip",     "-QUERY",      "enc",         "--dec",
        "/enc",  "-en",    "-fli",  "-encx", "-decx",     "-flipx",      "-queryx",     "-enc ",
        " -enc", "-enc\n", "-help", "-1",    "-enc -dec", "config.json", {"-enc\0", 5},
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE('"' + text + '"');
        EXPECT_FALSE(parseOption(text).has_value());
    }
}

}  // namespace
