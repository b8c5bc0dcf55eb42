// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/CommandLine.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/appliance/ExpectedRun.h"
#include "tests/unit/app/RecordingStream.h"

namespace {

TEST(ProgramName, IsTheTextAfterTheLastSeparator)
{
    struct Row {
        const char* path;
        const char* name;
    };
    constexpr Row rows[] = {
        {nullptr, ""},
        {"", ""},
        {"switch-querier", "switch-querier"},
        {"x", "x"},
        {"/usr/bin/switch-querier", "switch-querier"},
        {"./switch-querier", "switch-querier"},
        {"/switch-querier", "switch-querier"},
        {"a/b\\c", "c"},
        {"a\\b/c", "c"},
        {"C:\\tools\\switch-querier.exe", "switch-querier.exe"},
        {"\\c", "c"},
        {"/", ""},
        {"\\", ""},
        {"a/", ""},
        {"a\\", ""},
        {"a/b//", ""},
        {"a/b/\\", ""},
        {"/usr/bin/", ""},
        {"a//b", "b"},
        {"a/.", "."},
        {"a/ b c ", " b c "},
        {"C:switch-querier", "C:switch-querier"},
        {"a/100%s", "100%s"},
        {"-switch-querier", "-switch-querier"},
        {"lt-switch-querier", "lt-switch-querier"},
        {"a/\xc3\xa4", "\xc3\xa4"},
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
        "",         "-",     "-Enc",   "-ENC",      "-eNc",        "-Dec",        "-DEC",
        "-Flip",    "-FLIP", "-Query", "-QUERY",    "enc",         "dec",         "flip",
        "query",    "--enc", "--dec",  "--flip",    "--query",     "/enc",        "-e",
        "-en",      "-de",   "-fli",   "-quer",     "-encx",       "-decx",       "-flipx",
        "-queryx",  "-enc ", "-dec ",  " -enc",     "-flip ",      " -query",     "-enc\n",
        "-encoder", "-help", "-1",     "-enc -dec", "config.json", {"-enc\0", 5},
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE('"' + text + '"');
        EXPECT_FALSE(parseOption(text).has_value());
    }
}

TEST(Option, HasNoOverrideByDefault)
{
    EXPECT_EQ(Option{}.parameter, -1);
    EXPECT_FALSE(Option{}.query);
}

TEST(Usage, IsABannerAndTheUsageTextFlushed)
{
    for (const std::string name : {"switch-querier", "", "x", "100%s"}) {
        SCOPED_TRACE('"' + name + '"');
        RecordingStream out;
        printUsage(name, out);
        EXPECT_EQ(out.records(), std::vector<std::string>{expected::usage(name)});
    }
}

}  // namespace
