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
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

// Every exit status by a real cause. The switch is low unless a row says otherwise, so that an
// update of a decoder's file makes it an encoder's.
namespace {

constexpr char report[] = "Hardware switch: Encoder\n"
                          "Config file    : Decoder\n"
                          "Override parm  : None\n"
                          "Override file  : None\n"
                          "New setting    : Encoder\n";

struct Failure {
    std::string name;
    int status;
    std::string message;  ///< the line on the error log, without its end
    bool reported;        ///< whether the report comes before it
    std::vector<std::string> arguments;
    std::function<void()> arrange;
};

void PrintTo(const Failure& failure, std::ostream* out)
{
    *out << failure.name;
}

void noFile() {}

std::function<void()> fileHolds(const std::string& text)
{
    return [text] { writeFile(configPath, text); };
}

const std::string decoderFile = handwritten("false");
const std::string onlyOpens = std::string("{\"a\":") + std::string(9'994, '[');

const std::vector<Failure> failures = {
    {"UnknownSecondParameter",
     119,
     "Invalid enc/dec command line parameter at line ",
     false,
     {configPath, "-encoder"},
     fileHolds(decoderFile)},
    {"SecondParameterInCapitals",
     119,
     "Invalid enc/dec command line parameter at line ",
     false,
     {configPath, "-ENC"},
     fileHolds(decoderFile)},
    {"EmptySecondParameter",
     119,
     "Invalid enc/dec command line parameter at line ",
     false,
     {configPath, ""},
     fileHolds(decoderFile)},
    {"UnknownParameterBehindQuery",
     119,
     "Invalid enc/dec command line parameter at line ",
     false,
     {"-query", "now"},
     fileHolds(decoderFile)},
    {"EncBehindQuery",
     152,
     "No 2nd parameter allowed with -query",
     false,
     {"-query", "-enc"},
     fileHolds(decoderFile)},
    {"QueryBehindQuery",
     152,
     "No 2nd parameter allowed with -query",
     false,
     {"-query", "-query"},
     fileHolds(decoderFile)},
    {"FileMissing",
     163,
     "Cannot read Json config file '" + configPath + "'",
     false,
     {configPath},
     noFile},
    {"FileIsAFolder",
     163,
     "Cannot read Json config file '" + configPath + "'",
     false,
     {configPath},
     [] { emptyFolder(configPath); }},
    {"FileNotReadable",
     163,
     "Cannot read Json config file '" + configPath + "'",
     false,
     {configPath},
     [] {
         writeFile(configPath, decoderFile);
         chmod(configPath.c_str(), 0);
     }},
    {"FileTooLarge",
     163,
     "Cannot read Json config file '" + configPath + "'",
     false,
     {configPath},
     fileHolds(decoderFile + std::string(10'001 - decoderFile.size(), '\n'))},
    {"EmptyName", 163, "Cannot read Json config file ''", false, {""}, noFile},
    {"BlankFile",
     174,
     "Cannot decode Json at position 0, code -1",
     false,
     {configPath},
     fileHolds(" \n\t\r\n")},
    {"SyntaxErrorBehindLeadingBlanks",
     174,
     "Cannot decode Json at position 9, code -5",
     false,
     {configPath},
     fileHolds("\n\n  {\"a\":null;} \n")},
    {"NumberTooFarDown",
     174,
     "Cannot decode Json at position 9999, code -41",
     false,
     {configPath},
     fileHolds(onlyOpens + "}")},
    {"NoApp",
     180,
     "App/isEncoder parameter not found in Json text",
     false,
     {configPath},
     fileHolds("{\"isEncoder\":true}")},
    {"AppIsAnArray",
     180,
     "App/isEncoder parameter not found in Json text",
     false,
     {configPath},
     fileHolds("{\"App\":[{\"isEncoder\":true}]}")},
    {"AppHasNoFlag",
     180,
     "App/isEncoder parameter not found in Json text",
     false,
     {configPath},
     fileHolds("{\"App\":{\"isencoder\":true}}")},
    {"FlagIsANumber",
     186,
     "App/isEncoder parameter is not a boolean",
     false,
     {configPath},
     fileHolds("{\"App\":{\"isEncoder\":1}}")},
    {"FlagIsAString",
     186,
     "App/isEncoder parameter is not a boolean",
     false,
     {configPath},
     fileHolds("{\"App\":{\"isEncoder\":\"true\"}}")},
    {"FlagIsNull",
     186,
     "App/isEncoder parameter is not a boolean",
     false,
     {configPath},
     fileHolds("{\"App\":{\"isEncoder\":null}}")},
    {"FolderNotWritable",
     226,
     "Cannot open Json file for writing, code -1",
     true,
     {configPath},
     [] {
         writeFile(configPath, decoderFile);
         chmod(Appliance::folder, 0555);
     }},
    {"TemporaryNameIsAFolder",
     226,
     "Cannot open Json file for writing, code -1",
     true,
     {configPath},
     [] {
         writeFile(configPath, decoderFile);
         emptyFolder(configPath + ".filsec");
     }},
    {"DiskFull",
     236,
     "Cannot write Json file, code 1",
     true,
     {configPath},
     [] {
         writeFile(configPath, decoderFile);
         std::filesystem::create_symlink("/dev/full", configPath + ".filsec");
     }},
    {"FolderNotWritableButTheTemporaryFileIs",
     236,
     "Cannot write Json file, code -3",
     true,
     {configPath},
     [] {
         // The left-over temporary file can be written, but not renamed.
         writeFile(configPath, decoderFile);
         writeFile(configPath + ".filsec", "");
         chmod(Appliance::folder, 0555);
     }},
};

class Failing : public testing::TestWithParam<Failure> {
protected:
    void TearDown() override { chmod(Appliance::folder, 0755); }
};

TEST_P(Failing, EndsWithItsNumberAndKeepsTheFile)
{
    const Failure& failure = GetParam();
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    failure.arrange();
    const std::string before = readFile(configPath);

    const RunResult run = appliance.run(failure.arguments);

    EXPECT_EQ(run.status, failure.status);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, (failure.reported ? report : "") + ("ERROR: " + failure.message + "\n"));
    EXPECT_EQ(run.log,
              (std::vector<LogRecord>{{LOG_ERR, "switch-querier", failure.message + "\n"}}));
    EXPECT_EQ(readFile(configPath), before);
}

INSTANTIATE_TEST_SUITE_P(, Failing, testing::ValuesIn(failures),
                         [](const auto& row) { return row.param.name; });

TEST(ExitStatus, IsZeroForADecoder)
{
    Appliance appliance;
    appliance.setSwitch(Switch::high);
    writeFile(configPath, handwritten("true"));

    const RunResult run = appliance.run({configPath});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "Config file successfully updated to Decoder mode\n");
    EXPECT_EQ(readFile(configPath), rewritten("false"));
}

TEST(ExitStatus, IsOneForAnEncoder)
{
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    writeFile(configPath, handwritten("false"));

    const RunResult run = appliance.run({configPath});

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "Config file successfully updated to Encoder mode\n");
    EXPECT_EQ(readFile(configPath), rewritten("true"));
}

TEST(ExitStatus, Is210WhenNothingDecides)
{
    Appliance appliance;
    writeFile(configPath, handwritten("true"));

    const RunResult run = appliance.run({configPath});

    EXPECT_EQ(run.status, 210);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "ERROR: Cannot init GPIO17\n"
                       "Hardware switch: Could not be determined\n"
                       "Config file    : Encoder\n"
                       "Override parm  : None\n"
                       "Override file  : None\n"
                       "New setting    : Not specified\n"
                       "ERROR: No hardware or user setting known.\n");
    EXPECT_EQ(readFile(configPath), handwritten("true"));
}

TEST(ExitStatus, Is96WithTheUsageForAWrongNumberOfArguments)
{
    const std::vector<std::vector<std::string>> wrong = {
        {}, {"a", "b", "c"}, {"a", "-enc", "", ""}};
    for (const std::vector<std::string>& arguments : wrong) {
        SCOPED_TRACE(arguments.size());
        Appliance appliance;
        appliance.setSwitchOnExport(0, std::chrono::milliseconds(0));

        const RunResult run = appliance.run(arguments);

        EXPECT_EQ(run.status, 96);
        EXPECT_TRUE(run.out.starts_with("**** switch-querier - Tarvo enc/dec switch querier, "
                                        "V4.14 2020-01-16 "))
            << run.out;
        EXPECT_TRUE(run.out.ends_with("Program return values: 0=decoder, 1=encoder, >0 = error "
                                      "line.\n"))
            << run.out;
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.log, std::vector<LogRecord>{});
        EXPECT_EQ(readFile("/sys/class/gpio/export"), "") << "the switch was probed";
    }
}

TEST(BadSecondParameter, IsRefusedBeforeAnyProbing)
{
    Appliance appliance;
    emptyFolder(Appliance::gpioFolder);
    writeFile("/sys/class/gpio/export", "");

    EXPECT_EQ(appliance.run({"-query", "-Dec"}).status, 119);

    EXPECT_EQ(readFile("/sys/class/gpio/export"), "");
}

TEST(ParameterBehindQuery, IsRefusedAfterTheSwitchWasRead)
{
    Appliance appliance;

    const RunResult run = appliance.run({"-query", "-enc"});

    EXPECT_EQ(run.status, 152);
    EXPECT_EQ(run.err, "ERROR: Cannot init GPIO17\n"
                       "ERROR: No 2nd parameter allowed with -query\n");
}

}  // namespace
