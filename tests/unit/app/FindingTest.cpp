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
#include "tests/appliance/ExpectedMode.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/unit/app/RunKinds.h"

namespace fs = std::filesystem;

// What a run finds of the marker files and of the switch, and the decision as a function.
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

struct Finding {
    const char* name;
    std::function<void()> arrange;
    std::string effect;  ///< a line among those of a query
};

void PrintTo(const Finding& row, std::ostream* out)
{
    *out << row.name;
}

class Query : public testing::TestWithParam<Finding> {
protected:
    ~Query() override { chmod("/config", 0755); }
};

TEST_P(Query, ShowsWhatItFinds)
{
    resetAppliance();
    GetParam().arrange();

    const std::string effects = runWith({"-query"});

    EXPECT_NE(effects.find(GetParam().effect + "\n"), std::string::npos) << effects;
    EXPECT_TRUE(effects.ends_with("exit 0\n")) << effects;
}

std::string overrideFile(const std::string& mode)
{
    return "stdout " + inQuotes("Override file  : " + mode + "\n");
}

const std::string decoderFile = "/config/DECODER";
const std::string encoderFile = "/config/ENCODER";

void makeUnreadable(const std::string& path)
{
    writeFile(path, "");
    chmod(path.c_str(), 0);
}

const Finding markerFiles[] = {
    {"BothNamingTheOtherMode",
     [] {
         writeFile(decoderFile, "ENCODER\n");
         writeFile(encoderFile, "0");
     },
     overrideFile("Decoder")},
    {"EncoderWithContents", [] { writeFile(encoderFile, "DECODER 0"); }, overrideFile("Encoder")},
    {"DecoderADirectory", [] { fs::create_directory(decoderFile); }, overrideFile("Decoder")},
    {"EncoderADirectory", [] { fs::create_directory(encoderFile); }, overrideFile("Encoder")},
    {"EncoderNotReadable", [] { makeUnreadable(encoderFile); }, overrideFile("None")},
    {"DecoderNotReadableAndEncoder",
     [] {
         makeUnreadable(decoderFile);
         writeFile(encoderFile, "");
     },
     overrideFile("Encoder")},
    {"DecoderADanglingLink", [] { fs::create_symlink("missing", decoderFile); },
     overrideFile("None")},
    {"DecoderALinkToAnotherFile",
     [] {
         writeFile("/config/other", "");
         fs::create_symlink("other", decoderFile);
     },
     overrideFile("Decoder")},
    {"OtherNames",
     [] {
         writeFile("/config/decoder", "");
         writeFile("/config/ENCODER~", "");
     },
     overrideFile("None")},
    {"InADirectoryThatCannotBeEntered",
     [] {
         writeFile(decoderFile, "");
         writeFile(encoderFile, "");
         chmod("/config", 0600);
     },
     overrideFile("None")},
};

INSTANTIATE_TEST_SUITE_P(MarkerFiles, Query, testing::ValuesIn(markerFiles),
                         [](const auto& row) { return row.param.name; });

TEST(MarkerFiles, AreLookedForInEachRun)
{
    resetAppliance();
    writeFile(decoderFile, "");
    EXPECT_NE(runWith({"-query"}).find(overrideFile("Decoder")), std::string::npos);
    fs::remove(decoderFile);
    EXPECT_NE(runWith({"-query"}).find(overrideFile("None")), std::string::npos);
}

const std::string line = "/sys/class/gpio/gpio17";

std::function<void()> valueIs(const std::string& bytes)
{
    return [bytes] { writeFile(line + "/value", bytes); };
}

std::string hardwareSwitch(const std::string& mode)
{
    return "stdout " + inQuotes("Hardware switch: " + mode + "\n");
}

std::string logged(const std::string& message)
{
    return "log 3 switch-querier " + inQuotes(message + "\n") + "\n" +
           hardwareSwitch("Could not be determined");
}

const Finding switches[] = {
    {"High", valueIs("1\n"), hardwareSwitch("Decoder")},
    {"OtherByte", valueIs("x\n"), hardwareSwitch("Encoder")},
    {"HighAndMore", valueIs("10"), hardwareSwitch("Decoder")},
    {"EmptyValue", valueIs(""), logged(expected::cannotReadSwitch())},
    {"OneByteShort", valueIs("1"), logged(expected::cannotReadSwitch())},
    {"NoValueFile", [] { fs::remove(line + "/value"); }, logged(expected::cannotInitSwitch())},
    {"ValueNotWritable", [] { chmod((line + "/value").c_str(), 0444); },
     logged(expected::cannotInitSwitch())},
    {"DirectionNotWritable", [] { chmod((line + "/direction").c_str(), 0444); },
     logged(expected::cannotInitSwitch())},
    {"AnotherLineOnly", [] { fs::rename(line, "/sys/class/gpio/gpio1"); },
     logged(expected::cannotInitSwitch())},
};

INSTANTIATE_TEST_SUITE_P(Switch, Query, testing::ValuesIn(switches),
                         [](const auto& row) { return row.param.name; });

}  // namespace
