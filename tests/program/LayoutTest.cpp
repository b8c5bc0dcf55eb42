// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

// The layout of a rewritten file, byte for byte.
namespace {

/// Flips the flag of a configuration file, and returns the new text.
std::string flipped(const std::string& config)
{
    Appliance appliance;
    writeFile(configPath, config);
    const RunResult run = appliance.run({configPath, "-flip"});
    EXPECT_TRUE(run.status == 0 || run.status == 1) << run.err;
    return readFile(configPath);
}

TEST(Layout, OfEveryKindOfValue)
{
    EXPECT_EQ(flipped("\n\t{\"b\" : [1,2.5,\"x\\ty\"], \"a\":null,\"f\":[ ],\n\"e\":{},\"App\":"
                      "{\"isEncoder\":false,\"Name\":\"dec\",},}\r\n"),
              "{\n"
              "    \"App\": {\n"
              "      \"Name\": \"dec\",\n"
              "      \"isEncoder\": true\n"
              "    },\n"
              "    \"a\": null,\n"
              "    \"b\": [\n"
              "      1,\n"
              "      2.5,\n"
              "      \"x\\ty\"\n"
              "    ],\n"
              "    \"e\": {},\n"
              "    \"f\": []\n"
              "  }");
}

TEST(Layout, OfNestedArraysNumbersAndEscapes)
{
    EXPECT_EQ(flipped("{\"Zeta\":[[],[0x1A,010,08,+5,-0.0,100.0,0.1,1e300],{\"k\":[{}]}],"
                      "\"App\":{\"isEncoder\":true},"
                      "\"alpha\":\"\\\"\\\\\\b\\f\\n\\r\\t/\x7f\xc3\xa4\","
                      "\"a\\tb\":99999999999999999999,\"empty\":,\"alpha\":\"last\"}"),
              "{\n"
              "    \"App\": {\n"
              "      \"isEncoder\": false\n"
              "    },\n"
              "    \"Zeta\": [\n"
              "      [],\n"
              "      [\n"
              "        26,\n"
              "        8,\n"
              "        8,\n"
              "        5,\n"
              "        -0,\n"
              "        100,\n"
              "        0.1000000000000000055511151231257827,\n"
              "        1.00000000000000005250476025520442e+300\n"
              "      ],\n"
              "      {\n"
              "        \"k\": [\n"
              "          {}\n"
              "        ]\n"
              "      }\n"
              "    ],\n"
              "    \"a\\tb\": 9223372036854775807,\n"
              "    \"alpha\": \"last\",\n"
              "    \"empty\": 0\n"
              "  }");
}

TEST(Layout, SurvivesARoundTrip)
{
    const std::string once = flipped(handwritten("false"));

    EXPECT_EQ(once, rewritten("true"));
    EXPECT_EQ(flipped(once), rewritten("false"));
}

TEST(Layout, OfTheLargestDocumentOfNestedArraysIsWrittenInFull)
{
    constexpr std::size_t depth = 4'900;
    std::string config = "{\"App\":{\"isEncoder\":false},\"a\":";
    config += std::string(depth, '[') + std::string(depth, ']') + "}";
    config += std::string(10'000 - config.size(), ' ');

    // Each level is indented by two more spaces, down to the innermost array, "[]", and back.
    std::string expected = "{\n    \"App\": {\n      \"isEncoder\": true\n    },\n    \"a\": ";
    for (std::size_t level = 1; level < depth; ++level) {
        expected += "[\n" + std::string(2 * (level + 2), ' ');
    }
    expected += "[]";
    for (std::size_t level = depth - 1; level >= 1; --level) {
        expected += "\n" + std::string(2 * (level + 1), ' ') + "]";
    }
    expected += "\n  }";

    const std::string text = flipped(config);
    EXPECT_EQ(text.size(), expected.size());
    EXPECT_TRUE(text == expected);  // 48 MB are not for a message
}

}  // namespace
