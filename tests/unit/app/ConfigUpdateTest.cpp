// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/ConfigUpdate.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/unit/app/RunKinds.h"

namespace {

TEST(TrimText, RemovesTheBytesUpTo32AtBothEnds)
{
    for (int number = 0; number <= 255; ++number) {
        SCOPED_TRACE(number);
        const std::string byte(1, static_cast<char>(number));
        const bool removed = number <= 32;
        for (const auto& [text, trimmed] : std::vector<std::pair<std::string, std::string>>{
                 {byte, ""}, {byte + byte + "a" + byte + "b" + byte + byte, "a" + byte + "b"}}) {
            std::string result = text;
            trimText(result);
            EXPECT_EQ(result, removed ? trimmed : text);
        }
    }
}

TEST(TrimText, RemovesDifferentBytesInTurn)
{
    std::string text = std::string(" \n\0\t", 4) + "x \n y" + std::string(5'000, '\r') + " \n";
    trimText(text);
    EXPECT_EQ(text, "x \n y");
    text = "";
    trimText(text);
    EXPECT_EQ(text, "");
}

/// What the file holds, and how each run ends, whatever decides.
struct Refusal {
    const char* name;
    expected::Failure failure;
    std::string text;
};

void PrintTo(const Refusal& row, std::ostream* out)
{
    *out << row.name;
}

class RefusedFile : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedFile, EndsTheRunAndIsKept)
{
    const Refusal& row = GetParam();
    for (const std::string option : {"-enc", "-dec", "-flip", "-query"}) {
        SCOPED_TRACE(option);
        resetAppliance();
        writeFile(configPath, row.text);

        const std::string effects = runWith({configPath, option});

        EXPECT_TRUE(effects.ends_with(failed(row.failure))) << effects;
        EXPECT_EQ(readFile(configPath), row.text);
        EXPECT_EQ(namesIn("/appliance"), std::vector<std::string>{"config.json"});
    }
}

// The position counts from the first byte that is not trimmed.
const Refusal refusals[] = {
    {"EmptyFile", expected::syntaxError(0, -1), ""},
    {"OnlyWhitespace", expected::syntaxError(0, -1), " \n\r\n\t \n"},
    {"ByteOrderMark", expected::syntaxError(0, -1), "\xef\xbb\xbf{}"},
    {"LeadingWhitespaceDoesNotCount", expected::syntaxError(5, -4), "\n\n  \t{\"a\" 1}\n"},
    {"WhitespaceInsideCounts", expected::syntaxError(7, -4), "\n{\n\n\"a\" 1}\n"},
    {"FarDown", expected::syntaxError(8001, -1), "{" + std::string(8'000, ' ') + "x}"},
    {"NoMembers", expected::flagMissing(), "{}"},
    {"NoApp", expected::flagMissing(), R"({"app":{"isEncoder":true}})"},
    {"NoIsEncoder", expected::flagMissing(), R"({"App":{"IsEncoder":true,"isEncoder ":true}})"},
    {"AppAnArray", expected::flagMissing(), R"({"App":[{"isEncoder":true}]})"},
    {"AppNull", expected::flagMissing(), R"({"App":null})"},
    {"AppANumber", expected::flagMissing(), R"({"App":1})"},
    {"AtTheTop", expected::flagMissing(), R"({"isEncoder":true})"},
    {"ThePathAsOneKey", expected::flagMissing(), R"({"App/isEncoder":true})"},
    {"String", expected::flagNotBoolean(), R"({"App":{"isEncoder":"true"}})"},
    {"One", expected::flagNotBoolean(), R"({"App":{"isEncoder":1}})"},
    {"MissingValue", expected::flagNotBoolean(), R"({"App":{"isEncoder":}})"},
    {"Null", expected::flagNotBoolean(), R"({"App":{"isEncoder":null}})"},
    {"Object", expected::flagNotBoolean(), R"({"App":{"isEncoder":{}}})"},
    {"Array", expected::flagNotBoolean(), R"({"App":{"isEncoder":[true]}})"},
};

INSTANTIATE_TEST_SUITE_P(, RefusedFile, testing::ValuesIn(refusals),
                         [](const auto& row) { return row.param.name; });

}  // namespace
