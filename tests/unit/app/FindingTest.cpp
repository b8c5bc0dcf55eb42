// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>

#include "app/Mode.h"
#include "app/ModeResolution.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/unit/app/RunKinds.h"

namespace fs = std::filesystem;

// What a run finds of the marker files, and the decision as a function.
namespace {

// Exit statuses and JSON values depend on these numbers.
static_assert(decoder == 0 && encoder == 1 && noMode == -1 && modeNotRead == -2);
static_assert(parameterNone == -1 && parameterFlip == 2);

constexpr bool followsTheRules()
{
    for (int parameter = -1; parameter <= 2; ++parameter) {
        for (int markerFile = -1; markerFile <= 1; ++markerFile) {
            for (int hardware = -1; hardware <= 1; ++hardware) {
                for (int recorded = 0; recorded <= 1; ++recorded) {
                    if (resolveMode({parameter, markerFile, hardware}, recorded) !=
                        expected::mode({parameter, markerFile, hardware}, recorded)) {
                        return false;
                    }
                }
            }
        }
    }
    return true;
}

static_assert(followsTheRules());
static_assert(resolveMode({}, decoder) == noMode && resolveMode({}, encoder) == noMode);

/// What a query shows of the marker files.
std::string overrideFileInAQuery()
{
    const std::string label = "stdout \"Override file  : ";
    const std::string effects = runWith({"-query"});
    const std::size_t begin = effects.find(label) + label.size();
    return effects.substr(begin, effects.find("\\n", begin) - begin);
}

const std::string decoderFile = "/config/DECODER";
const std::string encoderFile = "/config/ENCODER";

struct Row {
    const char* name;
    std::function<void()> arrange;
    const char* shown;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

class MarkerFiles : public testing::TestWithParam<Row> {};

TEST_P(MarkerFiles, AreShownInAQuery)
{
    resetAppliance();
    GetParam().arrange();

    EXPECT_EQ(overrideFileInAQuery(), GetParam().shown);
}

void makeUnreadable(const std::string& path)
{
    writeFile(path, "");
    chmod(path.c_str(), 0);
}

const Row rows[] = {
    {"BothNamingTheOtherMode",
     [] {
         writeFile(decoderFile, "ENCODER\n");
         writeFile(encoderFile, "0");
     },
     "Decoder"},
    {"DecoderADirectory", [] { fs::create_directory(decoderFile); }, "Decoder"},
    {"EncoderADirectory", [] { fs::create_directory(encoderFile); }, "Encoder"},
    {"DecoderNotReadable",
     [] {
         makeUnreadable(decoderFile);
         writeFile(encoderFile, "");
     },
     "Encoder"},
    {"EncoderNotReadable", [] { makeUnreadable(encoderFile); }, "None"},
    {"DecoderADanglingLink", [] { fs::create_symlink("missing", decoderFile); }, "None"},
    {"OtherNames",
     [] {
         writeFile("/config/decoder", "");
         writeFile("/config/ENCODER~", "");
     },
     "None"},
};

INSTANTIATE_TEST_SUITE_P(, MarkerFiles, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(MarkerFile, IsLookedForInEachRun)
{
    resetAppliance();
    writeFile(decoderFile, "");
    EXPECT_EQ(overrideFileInAQuery(), "Decoder");
    fs::remove(decoderFile);
    EXPECT_EQ(overrideFileInAQuery(), "None");
}

}  // namespace
