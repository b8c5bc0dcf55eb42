// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/ConfigUpdate.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/app/RecordingStream.h"

namespace fs = std::filesystem;

namespace {

using Lines = std::vector<std::string>;

TEST(TrimText, RemovesBlanksAndControlBytesAtBothEnds)
{
    struct Row {
        const char* name;
        std::string text;
        std::string trimmed;
    };
    const Row rows[] = {
        {"empty", "", ""},
        {"nothing to trim", "{}", "{}"},
        {"one byte", "x", "x"},
        {"one blank", " ", ""},
        {"only blanks and line ends", " \t\r\n\v\f \n", ""},
        {"only NUL bytes", std::string(3, '\0'), ""},
        {"at the beginning", " \n\t{}", "{}"},
        {"at the end", "{}\r\n", "{}"},
        {"at both ends", "\n\n {} \n", "{}"},
        {"inside", " { \"a\" :\n\t1 }\n", "{ \"a\" :\n\t1 }"},
        {"NUL bytes at the ends and inside", {"\0{\0}\0", 5}, {"{\0}", 3}},
        {"blanks and other bytes by turns", " \n x \n y \n ", "x \n y"},
        {"byte-order mark", "\n\xef\xbb\xbf{}\n", "\xef\xbb\xbf{}"},
        {"no-break space", "\xc2\xa0x\xc2\xa0", "\xc2\xa0x\xc2\xa0"},
        {"long", std::string(5'000, ' ') + "x" + std::string(5'000, '\n'), "x"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        std::string text = row.text;
        trimText(text);
        EXPECT_EQ(text, row.trimmed);
    }
}

TEST(TrimText, RemovesTheBytesUpTo32)
{
    for (int number = 0; number <= 255; ++number) {
        SCOPED_TRACE(number);
        const std::string byte(1, static_cast<char>(number));
        std::string atBothEnds = byte + "a" + byte + "b" + byte;
        std::string alone = byte;
        trimText(atBothEnds);
        trimText(alone);
        const bool removed = number <= 32;
        EXPECT_EQ(atBothEnds, removed ? "a" + byte + "b" : byte + "a" + byte + "b" + byte);
        EXPECT_EQ(alone, removed ? "" : byte);
    }
}

const std::string folder = "/appliance";
const std::string path = folder + "/config.json";
const std::string temporaryPath = path + ".filsec";

const std::string atDecoder = R"({"App":{"isEncoder":false}})";
const std::string atEncoder = R"({"App":{"isEncoder":true}})";

// The same as the program writes them.
const std::string writtenAtDecoder = "{\n    \"App\": {\n      \"isEncoder\": false\n    }\n  }";
const std::string writtenAtEncoder = "{\n    \"App\": {\n      \"isEncoder\": true\n    }\n  }";

constexpr ModeSources forceEncoder{.parameter = encoder};
constexpr ModeSources forceDecoder{.parameter = decoder};
constexpr ModeSources flip{.parameter = parameterFlip};
constexpr ModeSources nothingDecides{};

/// What one call left; the logs and the report as they were flushed.
struct Update {
    int status;
    Lines error;
    Lines info;
    Lines report;
};

Update update(const std::string& name, const ModeSources& sources, bool query = false)
{
    RecordingStream error;
    RecordingStream info;
    RecordingStream report;
    const int status = updateConfig(name, sources, query, OutputStreams{error, info, report});
    return {status, error.records(), info.records(), report.records()};
}

class ConfigUpdate : public testing::Test {
protected:
    ConfigUpdate()
    {
        chmod(folder.c_str(), 0755);
        emptyFolder(folder);
    }

    ~ConfigUpdate() override { chmod(folder.c_str(), 0755); }
};

// An outcome that depends on the file alone: it is the same whatever the sources say, query or not.
struct Refusal {
    const char* name;
    std::string text;
    int status;
    std::string error;
};

void expectRefused(const Refusal& row)
{
    SCOPED_TRACE(row.name);
    for (const ModeSources& sources : {forceEncoder, forceDecoder, flip, nothingDecides}) {
        for (const bool query : {false, true}) {
            SCOPED_TRACE(testing::Message()
                         << "parameter " << sources.parameter << (query ? ", query" : ""));
            emptyFolder(folder);
            writeFile(path, row.text);
            const Update run = update(path, sources, query);
            EXPECT_EQ(run.status, row.status);
            EXPECT_EQ(run.error, Lines{row.error + "\n"});
            EXPECT_EQ(run.info, Lines{});
            EXPECT_EQ(run.report, Lines{});
            EXPECT_EQ(readFile(path), row.text);
            EXPECT_EQ(namesIn(folder), Lines{"config.json"});
        }
    }
}

TEST_F(ConfigUpdate, EndsWith163ForAFileThatCannotBeRead)
{
    struct Row {
        const char* name;
        std::function<void()> make;
        std::string path;
        const char* error;
    };
    const std::string longName(256, 'x');
    const std::string longNameError = "Cannot read Json config file '" + longName + "'\n";
    const Row rows[] = {
        {"missing", [] {}, path, "Cannot read Json config file '/appliance/config.json'\n"},
        {"not readable",
         [] {
             writeFile(path, atDecoder);
             chmod(path.c_str(), 0);
         },
         path, "Cannot read Json config file '/appliance/config.json'\n"},
        {"too large", [] { writeFile(path, atDecoder + std::string(10'000, ' ')); }, path,
         "Cannot read Json config file '/appliance/config.json'\n"},
        {"empty name", [] {}, "", "Cannot read Json config file ''\n"},
        {"relative name", [] {}, "missing.json", "Cannot read Json config file 'missing.json'\n"},
        {"name with a folder, not tidied", [] {}, "./no//folder/../x",
         "Cannot read Json config file './no//folder/../x'\n"},
        {"name with quotes and blanks", [] {}, " it's \"my\" config ",
         "Cannot read Json config file ' it's \"my\" config '\n"},
        {"name with a percent sign and a newline", [] {}, "100%s%n\nx",
         "Cannot read Json config file '100%s%n\nx'\n"},
        {"name that is a parameter", [] {}, "-enc", "Cannot read Json config file '-enc'\n"},
        {"name too long", [] {}, longName, longNameError.c_str()},
    };
    for (const Row& row : rows) {
        for (const bool query : {false, true}) {
            SCOPED_TRACE(testing::Message() << row.name << (query ? ", query" : ""));
            emptyFolder(folder);
            row.make();
            const Lines before = namesIn(folder);
            const Update run = update(row.path, forceEncoder, query);
            EXPECT_EQ(run.status, 163);
            EXPECT_EQ(run.error, Lines{row.error});
            EXPECT_EQ(run.info, Lines{});
            EXPECT_EQ(run.report, Lines{});
            EXPECT_EQ(namesIn(folder), before);
        }
    }
}

TEST_F(ConfigUpdate, TakesAFileOf10000BytesAndRefusesOneMore)
{
    // The bytes count as they are in the file, before any of them are trimmed.
    const std::string largest = atDecoder + std::string(10'000 - atDecoder.size(), '\n');
    writeFile(path, largest);
    EXPECT_EQ(update(path, forceEncoder).status, 1);
    EXPECT_EQ(readFile(path), writtenAtEncoder);

    writeFile(path, largest + "\n");
    EXPECT_EQ(update(path, forceEncoder).status, 163);
    EXPECT_EQ(readFile(path), largest + "\n");
}

TEST_F(ConfigUpdate, EndsWith174ForATextOutsideTheDialect)
{
    const Refusal rows[] = {
        {"empty file", "", 174, "Cannot decode Json at position 0, code -1"},
        {"only blanks and line ends", " \n\r\n\t \n", 174,
         "Cannot decode Json at position 0, code -1"},
        {"only NUL bytes", std::string(4, '\0'), 174, "Cannot decode Json at position 0, code -1"},
        {"array", "[true]", 174, "Cannot decode Json at position 0, code -1"},
        {"byte-order mark", "\xef\xbb\xbf{}", 174, "Cannot decode Json at position 0, code -1"},
        {"key without quotes", "{a:1}", 174, "Cannot decode Json at position 1, code -1"},
        {"two objects", "{} {}", 174, "Cannot decode Json at position 2, code -2"},
        {"bad key", R"({"a\q":1})", 174, "Cannot decode Json at position 4, code -3"},
        {"no colon", R"({"a" 1})", 174, "Cannot decode Json at position 5, code -4"},
        {"no comma", R"({"a":1 "b":2})", 174, "Cannot decode Json at position 7, code -5"},
        {"not true", R"({"App":{"isEncoder":True}})", 174,
         "Cannot decode Json at position 20, code -30"},
        {"nearly true", R"({"App":{"isEncoder":trui}})", 174,
         "Cannot decode Json at position 20, code -10"},
        {"nearly false", R"({"App":{"isEncoder":fals}})", 174,
         "Cannot decode Json at position 20, code -11"},
        {"nearly null", R"({"a":nul})", 174, "Cannot decode Json at position 5, code -20"},
        {"tab in a string", "{\"a\":\"x\ty\"}", 174, "Cannot decode Json at position 7, code -21"},
        {"escape that is none", R"({"a":"\/"})", 174, "Cannot decode Json at position 7, code -22"},
        {"no number", R"({"a":1x})", 174, "Cannot decode Json at position 5, code -30"},
        {"no comma in an array", R"({"a":[1 2]})", 174,
         "Cannot decode Json at position 8, code -41"},
        {"fault behind the flag", R"({"App":{"isEncoder":false},"b":?})", 174,
         "Cannot decode Json at position 31, code -30"},
        {"leading blanks do not count", "\n\n  \t{\"a\" 1}\n", 174,
         "Cannot decode Json at position 5, code -4"},
        {"blanks inside count", "\n{\n\n\"a\" 1}\n", 174,
         "Cannot decode Json at position 7, code -4"},
        {"far behind", "{" + std::string(8'000, ' ') + "x}", 174,
         "Cannot decode Json at position 8001, code -1"},
    };
    for (const Refusal& row : rows) {
        expectRefused(row);
    }
}

TEST_F(ConfigUpdate, EndsWith180WithoutTheFlag)
{
    const std::string error = "App/isEncoder parameter not found in Json text";
    const Refusal rows[] = {
        {"no members", "{}", 180, error},
        {"no App", R"({"app":{"isEncoder":true}})", 180, error},
        {"no isEncoder", R"({"App":{"IsEncoder":true,"isEncoder ":true}})", 180, error},
        {"App empty", R"({"App":{}})", 180, error},
        {"App an array", R"({"App":[{"isEncoder":true}]})", 180, error},
        {"App null", R"({"App":null})", 180, error},
        {"App a number", R"({"App":1})", 180, error},
        {"App a string", R"({"App":"isEncoder"})", 180, error},
        {"App a boolean", R"({"App":true})", 180, error},
        {"at the top", R"({"isEncoder":true})", 180, error},
        {"a level too deep", R"({"App":{"App":{"isEncoder":true}}})", 180, error},
        {"the path as one key", R"({"App/isEncoder":true})", 180, error},
        {"App twice, last without", R"({"App":{"isEncoder":true},"App":{}})", 180, error},
    };
    for (const Refusal& row : rows) {
        expectRefused(row);
    }
}

TEST_F(ConfigUpdate, EndsWith186WhereTheFlagIsNotABoolean)
{
    const std::string error = "App/isEncoder parameter is not a boolean";
    const Refusal rows[] = {
        {"string", R"({"App":{"isEncoder":"true"}})", 186, error},
        {"number 1", R"({"App":{"isEncoder":1}})", 186, error},
        {"number 0", R"({"App":{"isEncoder":0}})", 186, error},
        {"missing value", R"({"App":{"isEncoder":}})", 186, error},
        {"number with a fraction", R"({"App":{"isEncoder":1.5}})", 186, error},
        {"null", R"({"App":{"isEncoder":null}})", 186, error},
        {"object", R"({"App":{"isEncoder":{}}})", 186, error},
        {"array", R"({"App":{"isEncoder":[true]}})", 186, error},
        {"twice, last no boolean", R"({"App":{"isEncoder":true,"isEncoder":1}})", 186, error},
    };
    for (const Refusal& row : rows) {
        expectRefused(row);
    }
}

TEST_F(ConfigUpdate, EndsWith210WhereNothingDecides)
{
    struct Row {
        std::string text;
        const char* configLine;
    };
    const Row rows[] = {
        {atDecoder, "Config file    : Decoder\n"},
        {atEncoder, "Config file    : Encoder\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        writeFile(path, row.text);
        const Update run = update(path, nothingDecides);
        EXPECT_EQ(run.status, 210);
        EXPECT_EQ(run.error, Lines{"No hardware or user setting known.\n"});
        EXPECT_EQ(run.info, Lines{});
        EXPECT_EQ(run.report, (Lines{"Hardware switch: Could not be determined\n", row.configLine,
                                     "Override parm  : None\n", "Override file  : None\n",
                                     "New setting    : Not specified\n"}));
        EXPECT_EQ(readFile(path), row.text);
        EXPECT_EQ(namesIn(folder), Lines{"config.json"});
    }
}

const Lines reportOfForcedEncoder = {"Hardware switch: Could not be determined\n",
                                     "Config file    : Decoder\n", "Override parm  : Encoder\n",
                                     "Override file  : None\n", "New setting    : Encoder\n"};

TEST_F(ConfigUpdate, EndsWith226WhereTheTemporaryFileCannotBeOpened)
{
    struct Row {
        const char* name;
        std::function<void()> prepare;
        std::string path = ::path;
    };
    const Row rows[] = {
        {"folder not writable", [] { chmod(folder.c_str(), 0555); }},
        {"temporary name is a folder", [] { fs::create_directory(temporaryPath); }},
        {"temporary file not writable",
         [] {
             writeFile(temporaryPath, "left over");
             chmod(temporaryPath.c_str(), 0444);
         }},
        {"name too long for the suffix",
         [] { writeFile(folder + "/" + std::string(249, 'x'), atDecoder); },
         folder + "/" + std::string(249, 'x')},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        emptyFolder(folder);
        writeFile(path, atDecoder);
        row.prepare();
        const Lines before = namesIn(folder);
        const Update run = update(row.path, forceEncoder);
        EXPECT_EQ(run.status, 226);
        EXPECT_EQ(run.error, Lines{"Cannot open Json file for writing, code -1\n"});
        EXPECT_EQ(run.info, Lines{});
        EXPECT_EQ(run.report, reportOfForcedEncoder);
        EXPECT_EQ(readFile(row.path), atDecoder);
        EXPECT_EQ(namesIn(folder), before);
        chmod(folder.c_str(), 0755);
    }
}

TEST_F(ConfigUpdate, EndsWith236AndCode1WhereTheTextCannotBeWritten)
{
    writeFile(path, atDecoder);
    fs::create_symlink("/dev/full", temporaryPath);
    const Update run = update(path, forceEncoder);
    EXPECT_EQ(run.status, 236);
    EXPECT_EQ(run.error, Lines{"Cannot write Json file, code 1\n"});
    EXPECT_EQ(run.info, Lines{});
    EXPECT_EQ(run.report, reportOfForcedEncoder);
    EXPECT_EQ(readFile(path), atDecoder);
    EXPECT_EQ(namesIn(folder), (Lines{"config.json", "config.json.filsec"}));
}

TEST_F(ConfigUpdate, EndsWith236AndCodeMinus3WhereTheFileCannotBeReplaced)
{
    writeFile(path, atDecoder);
    writeFile(temporaryPath, "left over");
    // A left-over temporary file can be written there, but no name can be given.
    chmod(folder.c_str(), 0555);
    const Update run = update(path, forceEncoder);
    EXPECT_EQ(run.status, 236);
    EXPECT_EQ(run.error, Lines{"Cannot write Json file, code -3\n"});
    EXPECT_EQ(run.info, Lines{});
    EXPECT_EQ(run.report, reportOfForcedEncoder);
    EXPECT_EQ(readFile(path), atDecoder);
    EXPECT_EQ(readFile(temporaryPath), writtenAtEncoder);
}

TEST_F(ConfigUpdate, RewritesTheFileWhereTheModeChanges)
{
    struct Row {
        const char* name;
        std::string text;
        ModeSources sources;
        int status;
        std::string written;
        const char* info;
        Lines report;
    };
    const char* const toEncoder = "Config file successfully updated to Encoder mode\n";
    const char* const toDecoder = "Config file successfully updated to Decoder mode\n";
    const Row rows[] = {
        {"-enc", atDecoder, forceEncoder, 1, writtenAtEncoder, toEncoder, reportOfForcedEncoder},
        {"-dec",
         atEncoder,
         {decoder, encoder, encoder},
         0,
         writtenAtDecoder,
         toDecoder,
         {"Hardware switch: Encoder\n", "Config file    : Encoder\n", "Override parm  : Decoder\n",
          "Override file  : Encoder\n", "New setting    : Decoder\n"}},
        {"-flip to encoder",
         atDecoder,
         {parameterFlip, decoder, decoder},
         1,
         writtenAtEncoder,
         toEncoder,
         {"Hardware switch: Decoder\n", "Config file    : Decoder\n",
          "Override parm  : Flipped to Encoder\n", "Override file  : Decoder\n",
          "New setting    : Encoder\n"}},
        {"-flip to decoder",
         atEncoder,
         {parameterFlip, encoder, encoder},
         0,
         writtenAtDecoder,
         toDecoder,
         {"Hardware switch: Encoder\n", "Config file    : Encoder\n",
          "Override parm  : Flipped to Decoder\n", "Override file  : Encoder\n",
          "New setting    : Decoder\n"}},
        {"marker file ENCODER",
         atDecoder,
         {parameterNone, encoder, decoder},
         1,
         writtenAtEncoder,
         toEncoder,
         {"Hardware switch: Decoder\n", "Config file    : Decoder\n", "Override parm  : None\n",
          "Override file  : Encoder\n", "New setting    : Encoder\n"}},
        {"marker file DECODER",
         atEncoder,
         {parameterNone, decoder, encoder},
         0,
         writtenAtDecoder,
         toDecoder,
         {"Hardware switch: Encoder\n", "Config file    : Encoder\n", "Override parm  : None\n",
          "Override file  : Decoder\n", "New setting    : Decoder\n"}},
        {"switch at encoder",
         atDecoder,
         {parameterNone, noMode, encoder},
         1,
         writtenAtEncoder,
         toEncoder,
         {"Hardware switch: Encoder\n", "Config file    : Decoder\n", "Override parm  : None\n",
          "Override file  : None\n", "New setting    : Encoder\n"}},
        {"switch at decoder",
         atEncoder,
         {parameterNone, noMode, decoder},
         0,
         writtenAtDecoder,
         toDecoder,
         {"Hardware switch: Decoder\n", "Config file    : Encoder\n", "Override parm  : None\n",
          "Override file  : None\n", "New setting    : Decoder\n"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        writeFile(path, row.text);
        const Update run = update(path, row.sources);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(run.error, Lines{});
        EXPECT_EQ(run.info, Lines{row.info});
        EXPECT_EQ(run.report, row.report);
        EXPECT_EQ(readFile(path), row.written);
        EXPECT_EQ(namesIn(folder), Lines{"config.json"});
    }
}

TEST_F(ConfigUpdate, LeavesTheFileWhereItHasTheModeAlready)
{
    struct Row {
        const char* name;
        std::string text;
        ModeSources sources;
        int status;
        const char* info;
        Lines report;
    };
    const Row rows[] = {
        {"encoder",
         " \n{ \"b\":1, \"App\":{\"isEncoder\" : true,} }\r\n",
         forceEncoder,
         1,
         "Config file update to Encoder mode not needed.\n",
         {"Hardware switch: Could not be determined\n", "Config file    : Encoder\n",
          "Override parm  : Encoder\n", "Override file  : None\n", "New setting    : Encoder\n"}},
        {"decoder",
         "{\"App\":{\"isEncoder\":false}}\n",
         {parameterNone, noMode, decoder},
         0,
         "Config file update to Decoder mode not needed.\n",
         {"Hardware switch: Decoder\n", "Config file    : Decoder\n", "Override parm  : None\n",
          "Override file  : None\n", "New setting    : Decoder\n"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        writeFile(path, row.text);
        writeFile(temporaryPath, "left over");
        // Nothing can be written, so nothing may be tried either.
        chmod(path.c_str(), 0444);
        chmod(temporaryPath.c_str(), 0444);
        chmod(folder.c_str(), 0555);
        const Update run = update(path, row.sources);
        chmod(folder.c_str(), 0755);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(run.error, Lines{});
        EXPECT_EQ(run.info, Lines{row.info});
        EXPECT_EQ(run.report, row.report);
        EXPECT_EQ(readFile(path), row.text);
        EXPECT_EQ(readFile(temporaryPath), "left over");
        emptyFolder(folder);
    }
}

TEST_F(ConfigUpdate, OnlyReportsForAQuery)
{
    struct Row {
        const char* name;
        std::string text;
        ModeSources sources;
        Lines report;
    };
    const Row rows[] = {
        {"would change to encoder",
         atDecoder,
         {parameterNone, encoder, noMode},
         {"Hardware switch: Could not be determined\n", "Config file    : Decoder\n",
          "Override parm  : None\n", "Override file  : Encoder\n", "New setting    : Encoder\n"}},
        {"would change to decoder",
         atEncoder,
         {parameterNone, noMode, decoder},
         {"Hardware switch: Decoder\n", "Config file    : Encoder\n", "Override parm  : None\n",
          "Override file  : None\n", "New setting    : Decoder\n"}},
        {"has the mode already",
         atEncoder,
         {parameterNone, noMode, encoder},
         {"Hardware switch: Encoder\n", "Config file    : Encoder\n", "Override parm  : None\n",
          "Override file  : None\n", "New setting    : Encoder\n"}},
        {"nothing decides",
         atEncoder,
         nothingDecides,
         {"Hardware switch: Could not be determined\n", "Config file    : Encoder\n",
          "Override parm  : None\n", "Override file  : None\n",
          "New setting    : Not specified\n"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        writeFile(path, row.text);
        const Update run = update(path, row.sources, true);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.error, Lines{});
        EXPECT_EQ(run.info, Lines{});
        EXPECT_EQ(run.report, row.report);
        EXPECT_EQ(readFile(path), row.text);
        EXPECT_EQ(namesIn(folder), Lines{"config.json"});
    }
}

TEST_F(ConfigUpdate, RewritesTheWholeDocumentInTheLayoutOfTheApplication)
{
    struct Row {
        const char* name;
        const char* text;
        const char* written;
    };
    constexpr Row rows[] = {
        {"laid out otherwise",
         R"(

{"f":[],"e":{},   "b":[1,2.5,
"x\ty"],
        "App":{"isEncoder":false,"Name":"dec"}, "a" : null }
)",
         R"({
    "App": {
      "Name": "dec",
      "isEncoder": true
    },
    "a": null,
    "b": [
      1,
      2.5,
      "x\ty"
    ],
    "e": {},
    "f": []
  })"},
        {"values with more than one spelling",
         R"({"App":{"isEncoder":false,"n":[0x1A,010,+5,1e3,0.1,-0.0,],"s":"\b\f\\\""},"z":,"z":{"k":{}}})",
         R"({
    "App": {
      "isEncoder": true,
      "n": [
        26,
        8,
        5,
        1000,
        0.1000000000000000055511151231257827,
        -0
      ],
      "s": "\b\f\\\""
    },
    "z": {
      "k": {}
    }
  })"},
        {"other flags of the same name",
         R"({"App":{"isEncoder":false,"sub":{"isEncoder":false}},"isEncoder":false,"Zap":{"isEncoder":false}})",
         R"({
    "App": {
      "isEncoder": true,
      "sub": {
        "isEncoder": false
      }
    },
    "Zap": {
      "isEncoder": false
    },
    "isEncoder": false
  })"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        writeFile(path, row.text);
        EXPECT_EQ(update(path, forceEncoder).status, 1);
        EXPECT_EQ(readFile(path), row.written);
    }
}

TEST_F(ConfigUpdate, ReadsWhatItHasWritten)
{
    writeFile(path, atDecoder);
    EXPECT_EQ(update(path, flip).status, 1);
    EXPECT_EQ(readFile(path), writtenAtEncoder);
    EXPECT_EQ(update(path, flip).status, 0);
    EXPECT_EQ(readFile(path), writtenAtDecoder);
    EXPECT_EQ(update(path, flip).status, 1);
    EXPECT_EQ(readFile(path), writtenAtEncoder);
}

TEST_F(ConfigUpdate, UsesATemporaryFileThatWasLeftOver)
{
    writeFile(path, atDecoder);
    writeFile(temporaryPath, std::string(1'000, 'x'));
    EXPECT_EQ(update(path, forceEncoder).status, 1);
    EXPECT_EQ(readFile(path), writtenAtEncoder);
    EXPECT_EQ(namesIn(folder), Lines{"config.json"});
}

TEST_F(ConfigUpdate, TakesTheNameAsItIs)
{
    fs::create_directory(folder + "/sub");
    for (const std::string name : {"relative.json", "./sub/config.json", "/appliance//sub/x",
                                   " it's \"my\" config ", "-enc", "100%s"}) {
        SCOPED_TRACE(name);
        writeFile(name, atDecoder);
        EXPECT_EQ(update(name, forceEncoder).status, 1);
        EXPECT_EQ(readFile(name), writtenAtEncoder);
    }
}

TEST_F(ConfigUpdate, ClosesItsFilesOnEveryPath)
{
    const Lines before = namesIn("/proc/self/fd");
    ASSERT_FALSE(before.empty());
    struct Row {
        const char* name;
        std::string text;
        int status;
    };
    const Row rows[] = {
        {"updated", atDecoder, 1},
        {"not needed", atEncoder, 1},
        {"syntax error", "{", 174},
        {"too large", std::string(10'001, ' '), 163},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        writeFile(path, row.text);
        EXPECT_EQ(update(path, forceEncoder).status, row.status);
        EXPECT_EQ(namesIn("/proc/self/fd"), before);
    }
    writeFile(path, atDecoder);
    fs::create_symlink("/dev/full", temporaryPath);
    EXPECT_EQ(update(path, forceEncoder).status, 236);
    EXPECT_EQ(namesIn("/proc/self/fd"), before) << "not written";
}

}  // namespace
