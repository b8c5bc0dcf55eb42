// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/ConfigUpdate.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/unit/app/RecordingStream.h"

namespace fs = std::filesystem;

namespace {

using Lines = std::vector<std::string>;

TEST(TrimText, RemovesWhitespaceAndControlBytesAtBothEnds)
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
        {"one space", " ", ""},
        {"only whitespace", " \t\r\n\v\f \n", ""},
        {"only NUL bytes", std::string(3, '\0'), ""},
        {"at the beginning", " \n\t{}", "{}"},
        {"at the end", "{}\r\n", "{}"},
        {"at both ends", "\n\n {} \n", "{}"},
        {"inside", " { \"a\" :\n\t1 }\n", "{ \"a\" :\n\t1 }"},
        {"NUL bytes at the ends and inside", {"\0{\0}\0", 5}, {"{\0}", 3}},
        {"whitespace and other bytes in turn", " \n x \n y \n ", "x \n y"},
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

const std::string directory = "/appliance";
const std::string path = directory + "/config.json";
const std::string temporaryPath = path + ".filsec";

const std::string atDecoder = R"({"App":{"isEncoder":false}})";
const std::string atEncoder = R"({"App":{"isEncoder":true}})";

// The same as the program writes them.
const std::string writtenAtDecoder = "{\n    \"App\": {\n      \"isEncoder\": false\n    }\n  }";
const std::string writtenAtEncoder = "{\n    \"App\": {\n      \"isEncoder\": true\n    }\n  }";

const expected::Configuration recordsDecoder = {
    .text = atDecoder, .mode = 0, .rewritten = writtenAtEncoder};
const expected::Configuration recordsEncoder = {
    .text = atEncoder, .mode = 1, .rewritten = writtenAtDecoder};

constexpr ModeSources forceEncoder{.parameter = encoder};
constexpr ModeSources forceDecoder{.parameter = decoder};
constexpr ModeSources flip{.parameter = parameterFlip};
constexpr ModeSources nothingDecides{};

/// One call; the logs and the report as they were flushed.
expected::Update update(const std::string& name, const ModeSources& sources, bool query = false)
{
    RecordingStream error;
    RecordingStream info;
    RecordingStream report;
    const int status = updateConfig(name, sources, query, OutputStreams{error, info, report});
    return {status, error.records(), info.records(), report.records(), readFile(name)};
}

/// Calls and compares with the reference.
void expectUpdate(const std::string& name, const ModeSources& sources, bool query,
                  const expected::Configuration& configuration,
                  const std::optional<expected::Failure>& writing = {})
{
    const expected::Update update = ::update(name, sources, query);
    const expected::Update expectedUpdate = expected::update(
        {sources.parameter, sources.overrideFile, sources.hardware}, query, configuration, writing);
    EXPECT_EQ(update.status, expectedUpdate.status);
    EXPECT_EQ(update.error, expectedUpdate.error);
    EXPECT_EQ(update.info, expectedUpdate.info);
    EXPECT_EQ(update.report, expectedUpdate.report);
    EXPECT_EQ(update.configuration, expectedUpdate.configuration);
}

template <typename Row>
std::string rowName(const testing::TestParamInfo<Row>& info)
{
    return info.param.name;
}

class ConfigUpdate : public testing::Test {
protected:
    ConfigUpdate()
    {
        chmod(directory.c_str(), 0755);
        emptyDirectory(directory);
    }

    ~ConfigUpdate() override { chmod(directory.c_str(), 0755); }
};

// An outcome that depends on the file alone: it is the same whatever decides, query or not.
struct Refusal {
    const char* name;
    int status;
    std::string text;
    expected::Failure failure;
};

void PrintTo(const Refusal& row, std::ostream* out)
{
    *out << row.name;
}

class ConfigUpdateRefusal : public ConfigUpdate, public testing::WithParamInterface<Refusal> {};

TEST_P(ConfigUpdateRefusal, EndsWithItsStatusAndKeepsTheFile)
{
    const Refusal& row = GetParam();
    EXPECT_EQ(row.failure.status, row.status);
    writeFile(path, row.text);
    for (const ModeSources& sources : {forceEncoder, forceDecoder, flip, nothingDecides}) {
        for (const bool query : {false, true}) {
            SCOPED_TRACE(testing::Message()
                         << "parameter " << sources.parameter << (query ? ", query" : ""));
            expectUpdate(path, sources, query, {.text = row.text, .refusal = row.failure});
            EXPECT_EQ(namesIn(directory), Lines{"config.json"});
        }
    }
}

const Refusal outsideTheDialect[] = {
    {"EmptyFile", 174, "", expected::syntaxError(0, -1)},
    {"OnlyWhitespace", 174, " \n\r\n\t \n", expected::syntaxError(0, -1)},
    {"OnlyNULBytes", 174, std::string(4, '\0'), expected::syntaxError(0, -1)},
    {"Array", 174, "[true]", expected::syntaxError(0, -1)},
    {"ByteOrderMark", 174, "\xef\xbb\xbf{}", expected::syntaxError(0, -1)},
    {"KeyWithoutQuotes", 174, "{a:1}", expected::syntaxError(1, -1)},
    {"TwoObjects", 174, "{} {}", expected::syntaxError(2, -2)},
    {"BadKey", 174, R"({"a\q":1})", expected::syntaxError(4, -3)},
    {"NoColon", 174, R"({"a" 1})", expected::syntaxError(5, -4)},
    {"NoComma", 174, R"({"a":1 "b":2})", expected::syntaxError(7, -5)},
    {"NotTrue", 174, R"({"App":{"isEncoder":True}})", expected::syntaxError(20, -30)},
    {"NearlyTrue", 174, R"({"App":{"isEncoder":trui}})", expected::syntaxError(20, -10)},
    {"NearlyFalse", 174, R"({"App":{"isEncoder":fals}})", expected::syntaxError(20, -11)},
    {"NearlyNull", 174, R"({"a":nul})", expected::syntaxError(5, -20)},
    {"TabInAString", 174, "{\"a\":\"x\ty\"}", expected::syntaxError(7, -21)},
    {"UnknownEscape", 174, R"({"a":"\/"})", expected::syntaxError(7, -22)},
    {"NotANumber", 174, R"({"a":1x})", expected::syntaxError(5, -30)},
    {"NoCommaInAnArray", 174, R"({"a":[1 2]})", expected::syntaxError(8, -41)},
    {"ErrorAfterTheFlag", 174, R"({"App":{"isEncoder":false},"b":?})",
     expected::syntaxError(31, -30)},
    {"LeadingWhitespaceDoesNotCount", 174, "\n\n  \t{\"a\" 1}\n", expected::syntaxError(5, -4)},
    {"WhitespaceInsideCounts", 174, "\n{\n\n\"a\" 1}\n", expected::syntaxError(7, -4)},
    {"FarDown", 174, "{" + std::string(8'000, ' ') + "x}", expected::syntaxError(8001, -1)},
};

INSTANTIATE_TEST_SUITE_P(OutsideTheDialect, ConfigUpdateRefusal,
                         testing::ValuesIn(outsideTheDialect), rowName<Refusal>);

const Refusal withoutTheFlag[] = {
    {"NoMembers", 180, "{}", expected::flagMissing()},
    {"NoApp", 180, R"({"app":{"isEncoder":true}})", expected::flagMissing()},
    {"NoIsEncoder", 180, R"({"App":{"IsEncoder":true,"isEncoder ":true}})",
     expected::flagMissing()},
    {"AppEmpty", 180, R"({"App":{}})", expected::flagMissing()},
    {"AppAnArray", 180, R"({"App":[{"isEncoder":true}]})", expected::flagMissing()},
    {"AppNull", 180, R"({"App":null})", expected::flagMissing()},
    {"AppANumber", 180, R"({"App":1})", expected::flagMissing()},
    {"AppAString", 180, R"({"App":"isEncoder"})", expected::flagMissing()},
    {"AppABoolean", 180, R"({"App":true})", expected::flagMissing()},
    {"AtTheTop", 180, R"({"isEncoder":true})", expected::flagMissing()},
    {"ALevelTooDeep", 180, R"({"App":{"App":{"isEncoder":true}}})", expected::flagMissing()},
    {"ThePathAsOneKey", 180, R"({"App/isEncoder":true})", expected::flagMissing()},
    {"AppTwiceLastWithout", 180, R"({"App":{"isEncoder":true},"App":{}})", expected::flagMissing()},
};

INSTANTIATE_TEST_SUITE_P(WithoutTheFlag, ConfigUpdateRefusal, testing::ValuesIn(withoutTheFlag),
                         rowName<Refusal>);

const Refusal withoutABoolean[] = {
    {"String", 186, R"({"App":{"isEncoder":"true"}})", expected::flagNotBoolean()},
    {"Number1", 186, R"({"App":{"isEncoder":1}})", expected::flagNotBoolean()},
    {"Number0", 186, R"({"App":{"isEncoder":0}})", expected::flagNotBoolean()},
    {"MissingValue", 186, R"({"App":{"isEncoder":}})", expected::flagNotBoolean()},
    {"NumberWithAFraction", 186, R"({"App":{"isEncoder":1.5}})", expected::flagNotBoolean()},
    {"Null", 186, R"({"App":{"isEncoder":null}})", expected::flagNotBoolean()},
    {"Object", 186, R"({"App":{"isEncoder":{}}})", expected::flagNotBoolean()},
    {"Array", 186, R"({"App":{"isEncoder":[true]}})", expected::flagNotBoolean()},
    {"TwiceLastNoBoolean", 186, R"({"App":{"isEncoder":true,"isEncoder":1}})",
     expected::flagNotBoolean()},
};

INSTANTIATE_TEST_SUITE_P(WithoutABoolean, ConfigUpdateRefusal, testing::ValuesIn(withoutABoolean),
                         rowName<Refusal>);

struct UnreadableFile {
    const char* name;
    std::string path;
    std::function<void()> make = [] {};
};

void PrintTo(const UnreadableFile& row, std::ostream* out)
{
    *out << row.name;
}

class ConfigUpdateUnreadable : public ConfigUpdate,
                               public testing::WithParamInterface<UnreadableFile> {};

TEST_P(ConfigUpdateUnreadable, EndsWith163)
{
    const UnreadableFile& row = GetParam();
    row.make();
    const Lines before = namesIn(directory);
    const std::string text = readFile(row.path);
    for (const bool query : {false, true}) {
        SCOPED_TRACE(query);
        EXPECT_EQ(update(row.path, forceEncoder, query).status, 163);
        expectUpdate(row.path, forceEncoder, query,
                     {.text = text, .refusal = expected::unreadable(row.path)});
        EXPECT_EQ(namesIn(directory), before);
    }
}

const UnreadableFile unreadableFiles[] = {
    {"Missing", path},
    {"NotReadable", path,
     [] {
         writeFile(path, atDecoder);
         chmod(path.c_str(), 0);
     }},
    {"TooLarge", path, [] { writeFile(path, atDecoder + std::string(10'000, ' ')); }},
    {"EmptyName", ""},
    {"RelativeName", "missing.json"},
    {"NameWithADirectoryNotNormalised", "./no//directory/../x"},
    {"NameWithQuotesAndSpaces", " it's \"my\" config "},
    {"NameWithAPercentSignAndANewline", "100%s%n\nx"},
    {"NameThatIsAParameter", "-enc"},
    {"NameTooLong", std::string(256, 'x')},
};

INSTANTIATE_TEST_SUITE_P(, ConfigUpdateUnreadable, testing::ValuesIn(unreadableFiles),
                         rowName<UnreadableFile>);

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

TEST_F(ConfigUpdate, EndsWith210IfNothingDecides)
{
    for (const expected::Configuration& configuration : {recordsDecoder, recordsEncoder}) {
        SCOPED_TRACE(configuration.text);
        writeFile(path, configuration.text);
        EXPECT_EQ(update(path, nothingDecides).status, 210);
        expectUpdate(path, nothingDecides, false, configuration);
        EXPECT_EQ(namesIn(directory), Lines{"config.json"});
    }
}

struct Obstacle {
    const char* name;
    std::function<void()> make;
    std::string path = ::path;
};

void PrintTo(const Obstacle& row, std::ostream* out)
{
    *out << row.name;
}

class ConfigUpdateNotOpened : public ConfigUpdate, public testing::WithParamInterface<Obstacle> {};

TEST_P(ConfigUpdateNotOpened, EndsWith226)
{
    const Obstacle& row = GetParam();
    writeFile(path, atDecoder);
    row.make();
    const Lines before = namesIn(directory);
    EXPECT_EQ(update(row.path, forceEncoder).status, 226);
    expectUpdate(row.path, forceEncoder, false, recordsDecoder, expected::notOpened());
    EXPECT_EQ(namesIn(directory), before);
}

const Obstacle obstacles[] = {
    {"DirectoryNotWritable", [] { chmod(directory.c_str(), 0555); }},
    {"TemporaryNameIsADirectory", [] { fs::create_directory(temporaryPath); }},
    {"TemporaryFileNotWritable",
     [] {
         writeFile(temporaryPath, "left over");
         chmod(temporaryPath.c_str(), 0444);
     }},
    {"NameTooLongForTheSuffix",
     [] { writeFile(directory + "/" + std::string(249, 'x'), atDecoder); },
     directory + "/" + std::string(249, 'x')},
};

INSTANTIATE_TEST_SUITE_P(, ConfigUpdateNotOpened, testing::ValuesIn(obstacles), rowName<Obstacle>);

TEST_F(ConfigUpdate, EndsWith236AndCode1IfTheTextCannotBeWritten)
{
    writeFile(path, atDecoder);
    fs::create_symlink("/dev/full", temporaryPath);
    EXPECT_EQ(update(path, forceEncoder).status, 236);
    expectUpdate(path, forceEncoder, false, recordsDecoder, expected::notWritten(1));
    EXPECT_EQ(namesIn(directory), (Lines{"config.json", "config.json.filsec"}));
}

TEST_F(ConfigUpdate, EndsWith236AndCodeMinus3IfTheFileCannotBeReplaced)
{
    writeFile(path, atDecoder);
    writeFile(temporaryPath, "left over");
    // A temporary file that is left over can be written there, but not renamed.
    chmod(directory.c_str(), 0555);
    EXPECT_EQ(update(path, forceEncoder).status, 236);
    EXPECT_EQ(readFile(temporaryPath), writtenAtEncoder);
    expectUpdate(path, forceEncoder, false, recordsDecoder, expected::notWritten(-3));
    EXPECT_EQ(readFile(temporaryPath), writtenAtEncoder);
}

struct Change {
    const char* name;
    expected::Configuration configuration;
    ModeSources sources;
    int status;
};

void PrintTo(const Change& row, std::ostream* out)
{
    *out << row.name;
}

class ConfigUpdateModeChange : public ConfigUpdate, public testing::WithParamInterface<Change> {};

TEST_P(ConfigUpdateModeChange, RewritesTheFile)
{
    const Change& row = GetParam();
    writeFile(path, row.configuration.text);
    expectUpdate(path, row.sources, false, row.configuration);
    EXPECT_EQ(readFile(path), row.configuration.rewritten);
    EXPECT_EQ(namesIn(directory), Lines{"config.json"});

    writeFile(path, row.configuration.text);
    EXPECT_EQ(update(path, row.sources).status, row.status);
}

const Change changes[] = {
    {"Enc", recordsDecoder, forceEncoder, 1},
    {"Dec", recordsEncoder, {decoder, encoder, encoder}, 0},
    {"FlipToEncoder", recordsDecoder, {parameterFlip, decoder, decoder}, 1},
    {"FlipToDecoder", recordsEncoder, {parameterFlip, encoder, encoder}, 0},
    {"MarkerFileEncoder", recordsDecoder, {parameterNone, encoder, decoder}, 1},
    {"MarkerFileDecoder", recordsEncoder, {parameterNone, decoder, encoder}, 0},
    {"SwitchAtEncoder", recordsDecoder, {parameterNone, noMode, encoder}, 1},
    {"SwitchAtDecoder", recordsEncoder, {parameterNone, noMode, decoder}, 0},
};

INSTANTIATE_TEST_SUITE_P(, ConfigUpdateModeChange, testing::ValuesIn(changes), rowName<Change>);

class ConfigUpdateNotNeeded : public ConfigUpdate, public testing::WithParamInterface<Change> {};

TEST_P(ConfigUpdateNotNeeded, LeavesTheFile)
{
    const Change& row = GetParam();
    writeFile(path, row.configuration.text);
    writeFile(temporaryPath, "left over");
    // Nothing can be written, so nothing may be tried either.
    chmod(path.c_str(), 0444);
    chmod(temporaryPath.c_str(), 0444);
    chmod(directory.c_str(), 0555);
    EXPECT_EQ(update(path, row.sources).status, row.status);
    expectUpdate(path, row.sources, false, row.configuration);
    EXPECT_EQ(readFile(path), row.configuration.text);
    EXPECT_EQ(readFile(temporaryPath), "left over");
}

const Change noChanges[] = {
    {"Encoder",
     {.text = " \n{ \"b\":1, \"App\":{\"isEncoder\" : true,} }\r\n", .mode = 1},
     forceEncoder,
     1},
    {"Decoder",
     {.text = "{\"App\":{\"isEncoder\":false}}\n", .mode = 0},
     {parameterNone, noMode, decoder},
     0},
};

INSTANTIATE_TEST_SUITE_P(, ConfigUpdateNotNeeded, testing::ValuesIn(noChanges), rowName<Change>);

TEST_F(ConfigUpdate, OnlyReportsForAQuery)
{
    struct Row {
        const char* name;
        expected::Configuration configuration;
        ModeSources sources;
    };
    const Row rows[] = {
        {"would change to encoder", recordsDecoder, {parameterNone, encoder, noMode}},
        {"would change to decoder", recordsEncoder, {parameterNone, noMode, decoder}},
        {"has the mode already", recordsEncoder, {parameterNone, noMode, encoder}},
        {"nothing decides", recordsEncoder, nothingDecides},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        writeFile(path, row.configuration.text);
        EXPECT_EQ(update(path, row.sources, true).status, 0);
        expectUpdate(path, row.sources, true, row.configuration);
        EXPECT_EQ(readFile(path), row.configuration.text);
        EXPECT_EQ(namesIn(directory), Lines{"config.json"});
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
        {"another layout",
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
         R"({"App":{"isEncoder":false,"n":[0x1A,)"
         R"(010,+5,1e3,0.1,-0.0,],"s":"\b\f\\\""},"z":,"z":{"k":{}}})",
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
         R"({"App":{"isEncoder":false,"sub":{"isEncoder":false}},)"
         R"("isEncoder":false,"Zap":{"isEncoder":false}})",
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

TEST_F(ConfigUpdate, ReusesATemporaryFileThatIsLeftOver)
{
    writeFile(path, atDecoder);
    writeFile(temporaryPath, std::string(1'000, 'x'));
    EXPECT_EQ(update(path, forceEncoder).status, 1);
    EXPECT_EQ(readFile(path), writtenAtEncoder);
    EXPECT_EQ(namesIn(directory), Lines{"config.json"});
}

TEST_F(ConfigUpdate, UsesTheNameUnchanged)
{
    fs::create_directory(directory + "/sub");
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
