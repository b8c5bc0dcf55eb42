// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/CommandLine.h"

#include <gtest/gtest.h>

#include <string>

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
        {"a/\xc3\xa4", "\xc3\xa4"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path == nullptr ? "(null)" : row.path);
        EXPECT_EQ(programName(row.path), row.name);
    }
}

TEST(ParseOption, KnowsFourOptions)
{
    struct Row {
        const char* text;
        std::int32_t parameter;
        bool query;
    };
    constexpr Row rows[] = {
        {"-enc", 1, false},
        {"-dec", 0, false},
        {"-flip", 2, false},
        {"-query", -1, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const std::optional<Option> option = parseOption(row.text);
        ASSERT_TRUE(option.has_value());
        EXPECT_EQ(option->parameter, row.parameter);
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

// The usage text after the program's name in its second line.
constexpr char usageAfterTheName[] =
    " <Json-filename|'-query'> ['-enc'|'-dec'|'-flip'|'-query']\n"
    "The program reads the status of the Tarvo-encoder/decoder configuration switch\n"
    "and - if necessary - updates the specified Json application config file accordingly.\n"
    "If -query is specified instead of a filename the program only indicates the current\n"
    "settings, not including the setting of the Json config file.\n"
    "The following additional parameters are supported:\n"
    "  -enc, -dec: Overrides the setting of the hardware switch and forces encoder or\n"
    "              decoder mode.\n"
    "  -flip     : Overrides the setting of the hardware switch and inverts the setting\n"
    "              found in the Json config file.\n"
    "  -query    : Displays configurations and exits.\n"
    "There is a secondary override mode:\n"
    "  If the file /config/DECODER exists it will overwrite the hardware setting and\n"
    "  cause decoder mode to be assumed.\n"
    "  If the file /config/DECODER does not exist but file /config/ENCODER does, it will\n"
    "  cause encoder mode to be assumed.\n"
    "The hardware setting comes into effect only if neither of the two files exist.\n"
    "Note that an explicit -enc, -dec or -flip command parameter overrides the /config\n"
    "file settings.\n"
    "Program return values: 0=decoder, 1=encoder, >0 = error line.\n";

TEST(Usage, IsABannerAndTheUsageTextFlushed)
{
    for (const std::string name : {"switch-querier", "", "x", "100%s"}) {
        SCOPED_TRACE('"' + name + '"');
        RecordingStream out;
        printUsage(name, out);
        ASSERT_EQ(out.records().size(), 1U);
        const std::string text = out.records().front();

        const std::string bannerStart =
            "**** " + name + " - Tarvo enc/dec switch querier, V4.14 2020-01-16 ";
        const std::size_t bannerEnd = text.find('\n');
        ASSERT_NE(bannerEnd, std::string::npos);
        EXPECT_EQ(text.substr(0, bannerStart.size()), bannerStart);
        // The contact address is set by the build.
        EXPECT_GT(bannerEnd, bannerStart.size());
        EXPECT_EQ(text.substr(bannerEnd + 1), "Usage: " + name + usageAfterTheName);
    }
}

}  // namespace
