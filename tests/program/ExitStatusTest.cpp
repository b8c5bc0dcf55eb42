// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <syslog.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

// Every exit status by a real cause. The switch is low unless a test says otherwise, so that an
// update of a decoder's file makes it an encoder's.
namespace {

/// The run, or the writing of the file, fails as expected.
enum class Fails { run, writing };

struct Row {
    std::string name;
    int status;
    expected::Failure failure;
    Fails fails;
    std::vector<std::string> arguments;
    std::function<void()> arrange;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

void noFile() {}

std::function<void()> fileHolds(const std::string& text)
{
    return [text] { writeFile(configPath, text); };
}

const std::string decoderFile = handwritten("false");
const std::string onlyOpens = std::string("{\"a\":") + std::string(9'994, '[');

const std::vector<Row> rows = {
    {"UnknownSecondParameter",
     119,
     expected::unknownParameter(),
     Fails::run,
     {configPath, "-encoder"},
     fileHolds(decoderFile)},
    {"SecondParameterInCapitals",
     119,
     expected::unknownParameter(),
     Fails::run,
     {configPath, "-ENC"},
     fileHolds(decoderFile)},
    {"EmptySecondParameter",
     119,
     expected::unknownParameter(),
     Fails::run,
     {configPath, ""},
     fileHolds(decoderFile)},
    {"UnknownParameterAfterQuery",
     119,
     expected::unknownParameter(),
     Fails::run,
     {"-query", "now"},
     fileHolds(decoderFile)},
    {"EncAfterQuery",
     152,
     expected::parameterAfterQuery(),
     Fails::run,
     {"-query", "-enc"},
     fileHolds(decoderFile)},
    {"QueryAfterQuery",
     152,
     expected::parameterAfterQuery(),
     Fails::run,
     {"-query", "-query"},
     fileHolds(decoderFile)},
    {"FileMissing", 163, expected::unreadable(configPath), Fails::run, {configPath}, noFile},
    {"FileIsADirectory",
     163,
     expected::unreadable(configPath),
     Fails::run,
     {configPath},
     [] { emptyDirectory(configPath); }},
    {"FileNotReadable",
     163,
     expected::unreadable(configPath),
     Fails::run,
     {configPath},
     [] {
         writeFile(configPath, decoderFile);
         chmod(configPath.c_str(), 0);
     }},
    {"FileTooLarge",
     163,
     expected::unreadable(configPath),
     Fails::run,
     {configPath},
     fileHolds(decoderFile + std::string(10'001 - decoderFile.size(), '\n'))},
    {"EmptyName", 163, expected::unreadable(""), Fails::run, {""}, noFile},
    {"FileOfWhitespace",
     174,
     expected::syntaxError(0, -1),
     Fails::run,
     {configPath},
     fileHolds(" \n\t\r\n")},
    {"SyntaxErrorAfterLeadingWhitespace",
     174,
     expected::syntaxError(9, -5),
     Fails::run,
     {configPath},
     fileHolds("\n\n  {\"a\":null;} \n")},
    {"NumberTooDeep",
     174,
     expected::syntaxError(9999, -41),
     Fails::run,
     {configPath},
     fileHolds(onlyOpens + "}")},
    {"NoApp",
     180,
     expected::flagMissing(),
     Fails::run,
     {configPath},
     fileHolds("{\"isEncoder\":true}")},
    {"AppIsAnArray",
     180,
     expected::flagMissing(),
     Fails::run,
     {configPath},
     fileHolds("{\"App\":[{\"isEncoder\":true}]}")},
    {"AppHasNoFlag",
     180,
     expected::flagMissing(),
     Fails::run,
     {configPath},
     fileHolds("{\"App\":{\"isencoder\":true}}")},
    {"FlagIsANumber",
     186,
     expected::flagNotBoolean(),
     Fails::run,
     {configPath},
     fileHolds("{\"App\":{\"isEncoder\":1}}")},
    {"FlagIsAString",
     186,
     expected::flagNotBoolean(),
     Fails::run,
     {configPath},
     fileHolds("{\"App\":{\"isEncoder\":\"true\"}}")},
    {"FlagIsNull",
     186,
     expected::flagNotBoolean(),
     Fails::run,
     {configPath},
     fileHolds("{\"App\":{\"isEncoder\":null}}")},
    {"DirectoryNotWritable",
     226,
     expected::notOpened(),
     Fails::writing,
     {configPath},
     [] {
         writeFile(configPath, decoderFile);
         chmod(Appliance::directory, 0555);
     }},
    {"TemporaryNameIsADirectory",
     226,
     expected::notOpened(),
     Fails::writing,
     {configPath},
     [] {
         writeFile(configPath, decoderFile);
         emptyDirectory(configPath + ".filsec");
     }},
    {"DiskFull",
     236,
     expected::notWritten(1),
     Fails::writing,
     {configPath},
     [] {
         writeFile(configPath, decoderFile);
         std::filesystem::create_symlink("/dev/full", configPath + ".filsec");
     }},
    {"DiskFullForMoreThanAStreamsBuffer",
     236,
     expected::notWritten(1),
     Fails::writing,
     {configPath},
     [] {
         const std::string filling(9'900, 'x');
         writeFile(configPath, R"({"App":{"isEncoder":false},"a":")" + filling + "\"}");
         std::filesystem::create_symlink("/dev/full", configPath + ".filsec");
     }},
    {"DirectoryNotWritableButTheTemporaryFileIs",
     236,
     expected::notWritten(-3),
     Fails::writing,
     {configPath},
     [] {
         // The temporary file that is left over can be written, but not renamed.
         writeFile(configPath, decoderFile);
         writeFile(configPath + ".filsec", "");
         chmod(Appliance::directory, 0555);
     }},
};

class Failing : public testing::TestWithParam<Row> {
protected:
    void TearDown() override { chmod(Appliance::directory, 0755); }
};

TEST_P(Failing, EndsWithItsNumberAndKeepsTheFile)
{
    const Row& row = GetParam();
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    row.arrange();
    const std::vector<std::string> namesBefore = namesIn(Appliance::directory);
    expected::Sources sources{.arguments = row.arguments,
                              .hardware = Switch::low,
                              .configuration = configurationRecording(false)};
    sources.configuration.text = readFile(configPath);
    (row.fails == Fails::run ? sources.configuration.refusal : sources.writing) = row.failure;

    const RunResult run = appliance.run(row.arguments);

    const expected::Run expectedRun = expected::run(sources);
    EXPECT_EQ(row.failure.status, row.status);
    EXPECT_EQ(run.status, row.status);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, expectedRun.err);
    EXPECT_EQ(run.log,
              (std::vector<LogRecord>{{LOG_ERR, "switch-querier", row.failure.message + "\n"}}));
    EXPECT_EQ(readFile(configPath), sources.configuration.text);
    EXPECT_EQ(namesIn(Appliance::directory), namesBefore);
}

INSTANTIATE_TEST_SUITE_P(, Failing, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(ExitStatus, IsZeroForADecoder)
{
    Appliance appliance;
    appliance.setSwitch(Switch::high);
    writeFile(configPath, handwritten("true"));

    const RunResult run = appliance.run({configPath});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, expected::updated(0) + "\n");
    EXPECT_EQ(readFile(configPath), rewritten("false"));
}

TEST(ExitStatus, IsOneForAnEncoder)
{
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    writeFile(configPath, handwritten("false"));

    const RunResult run = appliance.run({configPath});

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, expected::updated(1) + "\n");
    EXPECT_EQ(readFile(configPath), rewritten("true"));
}

TEST(ExitStatus, Is210WhenNothingDecides)
{
    Appliance appliance;
    writeFile(configPath, handwritten("true"));

    const RunResult run = appliance.run({configPath});

    EXPECT_EQ(run.status, 210);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, expected::run({.arguments = {configPath},
                                      .configuration = configurationRecording(true)})
                           .err);
    EXPECT_TRUE(run.err.ends_with("ERROR: " + expected::nothingDecides().message + "\n"));
    EXPECT_EQ(readFile(configPath), handwritten("true"));
}

class WrongNumberOfArguments : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(WrongNumberOfArguments, EndsWith96AndTheUsage)
{
    Appliance appliance;
    appliance.setSwitchOnExport(0, std::chrono::milliseconds(0));

    const RunResult run = appliance.run(GetParam());

    EXPECT_EQ(run.status, 96);
    EXPECT_EQ(run.out, expected::usage("switch-querier"));
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.log, std::vector<LogRecord>{});
    EXPECT_EQ(readFile("/sys/class/gpio/export"), "") << "the switch was probed";
}

INSTANTIATE_TEST_SUITE_P(, WrongNumberOfArguments,
                         testing::Values(std::vector<std::string>{},
                                         std::vector<std::string>{"a", "b", "c"},
                                         std::vector<std::string>{"a", "-enc", "", ""}));

TEST(BadSecondParameter, IsRefusedBeforeAnyProbing)
{
    Appliance appliance;
    emptyDirectory(Appliance::gpioDirectory);
    writeFile("/sys/class/gpio/export", "");

    EXPECT_EQ(appliance.run({"-query", "-Dec"}).status, 119);

    EXPECT_EQ(readFile("/sys/class/gpio/export"), "");
}

TEST(ParameterAfterQuery, IsRefusedAfterTheSwitchWasRead)
{
    Appliance appliance;

    const RunResult run = appliance.run({"-query", "-enc"});

    EXPECT_EQ(run.status, 152);
    EXPECT_EQ(run.err, "ERROR: " + expected::cannotInitSwitch() +
                           "\nERROR: " + expected::parameterAfterQuery().message + "\n");
}

}  // namespace
