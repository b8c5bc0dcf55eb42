// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"
#include "tests/program/Documents.h"
#include "tests/program/ExpectedOutcome.h"

namespace fs = std::filesystem;

// Every failure by a real cause; DecisionTest has 210. The switch is low, so that an update of a
// decoder's file would make it an encoder's.
namespace {

using Arguments = std::vector<std::string>;

const std::string decoderFile = handwritten("false");
const std::string temporaryPath = configPath + ".filsec";
const std::string onlyOpens = std::string("{\"a\":") + std::string(9'994, '[');

std::string pathOfLength(std::size_t length)
{
    return std::string(Appliance::directory) + "/" + std::string(length, 'n');
}

std::function<void()> fileHolds(const std::string& text)
{
    return [text] { writeFile(configPath, text); };
}

std::function<void()> fileThen(const std::function<void()>& more)
{
    return [more] {
        writeFile(configPath, decoderFile);
        more();
    };
}

void noFile() {}

struct Row {
    std::string name;
    expected::Failure failure;
    std::function<void()> arrange = fileHolds(decoderFile);
    Arguments arguments = {configPath};
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

const std::vector<Row> rows = {
    // 119 and 152
    {"UnknownSecondParameter",
     expected::unknownParameter(),
     fileHolds(decoderFile),
     {configPath, "-encoder"}},
    {"SecondParameterInCapitals",
     expected::unknownParameter(),
     fileHolds(decoderFile),
     {configPath, "-ENC"}},
    {"EmptySecondParameter",
     expected::unknownParameter(),
     fileHolds(decoderFile),
     {configPath, ""}},
    {"UnknownParameterAfterQuery", expected::unknownParameter(), noFile, {"-query", "now"}},
    {"EncAfterQuery", expected::parameterAfterQuery(), noFile, {"-query", "-enc"}},
    {"QueryAfterQuery", expected::parameterAfterQuery(), noFile, {"-query", "-query"}},

    // 163
    {"FileMissing", expected::unreadable(configPath), noFile},
    {"FileIsADirectory", expected::unreadable(configPath), [] { emptyDirectory(configPath); }},
    {"FileNotReadable", expected::unreadable(configPath),
     fileThen([] { chmod(configPath.c_str(), 0); })},
    {"FileTooLarge", expected::unreadable(configPath),
     fileHolds(decoderFile + std::string(10'001 - decoderFile.size(), '\n'))},
    {"EmptyName", expected::unreadable(""), noFile, {""}},
    {"NameOf256Bytes", expected::unreadable(pathOfLength(256)), noFile, {pathOfLength(256)}},

    // 174, 180 and 186
    {"FileOfWhitespace", expected::syntaxError(0, -1), fileHolds(" \n\t\r\n")},
    {"SyntaxErrorAfterLeadingWhitespace", expected::syntaxError(9, -5),
     fileHolds("\n\n  {\"a\":null;} \n")},
    {"NumberTooDeep", expected::syntaxError(9999, -41), fileHolds(onlyOpens + "}")},
    {"NoApp", expected::flagMissing(), fileHolds(R"({"isEncoder":true})")},
    {"AppIsAnArray", expected::flagMissing(), fileHolds(R"({"App":[{"isEncoder":true}]})")},
    {"AppHasNoFlag", expected::flagMissing(), fileHolds(R"({"App":{"isencoder":true}})")},
    {"FlagIsANumber", expected::flagNotBoolean(), fileHolds(R"({"App":{"isEncoder":1}})")},
    {"FlagIsAString", expected::flagNotBoolean(), fileHolds(R"({"App":{"isEncoder":"true"}})")},
    {"FlagIsNull", expected::flagNotBoolean(), fileHolds(R"({"App":{"isEncoder":null}})")},

    // 226
    {"DirectoryNotWritable", expected::notOpened(),
     fileThen([] { chmod(Appliance::directory, 0555); })},
    {"TemporaryNameIsADirectory", expected::notOpened(),
     fileThen([] { emptyDirectory(temporaryPath); })},
    {"TemporaryNameIsALinkToItself", expected::notOpened(),
     fileThen([] { fs::create_symlink("config.json.filsec", temporaryPath); })},
    {"TemporaryFileNotWritable", expected::notOpened(), fileThen([] {
         writeFile(temporaryPath, "left");
         chmod(temporaryPath.c_str(), 0444);
     })},
    {"NameOf249Bytes",
     expected::notOpened(),
     [] { writeFile(pathOfLength(249), decoderFile); },
     {pathOfLength(249)}},
    {"LongestName",
     expected::notOpened(),
     [] { writeFile(pathOfLength(longestName()), decoderFile); },
     {pathOfLength(longestName())}},

    // 236; ReplacementTest has those of a rename that is refused
    {"DiskFull", expected::notWritten(1),
     fileThen([] { fs::create_symlink("/dev/full", temporaryPath); })},
    {"DiskFullForMoreThanAStreamsBuffer", expected::notWritten(1),
     [] {
         const std::string filling(9'900, 'x');
         writeFile(configPath, R"({"App":{"isEncoder":false},"a":")" + filling + "\"}");
         fs::create_symlink("/dev/full", temporaryPath);
     }},
};

class Failing : public testing::TestWithParam<Row> {
protected:
    void TearDown() override { chmod(Appliance::directory, 0755); }
};

TEST_P(Failing, EndsWithItsNumberAndChangesNoFile)
{
    const Row& row = GetParam();
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    row.arrange();
    expected::Sources sources{.arguments = row.arguments,
                              .hardware = Switch::low,
                              .configuration = configurationRecording(false)};
    sources.configuration.text = readFile(row.arguments.front());
    const bool reads = row.failure.status < 226;
    (reads ? sources.configuration.refusal : sources.writing) = row.failure;

    expectRun(appliance, sources);
}

INSTANTIATE_TEST_SUITE_P(, Failing, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(WrongNumberOfArguments, EndsWith96AndTheUsageBeforeAnyProbing)
{
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    for (const Arguments& arguments :
         {Arguments{}, Arguments{"a", "b", "c"}, Arguments{"a", "-enc", "", ""}}) {
        SCOPED_TRACE(arguments.size());

        expectRun(appliance, {.arguments = arguments});
    }
}

}  // namespace
