// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/app/RunKinds.h"

#include <sys/stat.h>

#include <filesystem>
#include <iostream>
#include <sstream>
#include <streambuf>

#include "app/StandardDescriptors.h"
#include "app/SwitchQuerier.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/SystemLog.h"

// A test program has a main of its own.
#define main programMain
#include "app/main.cpp"  // NOLINT(bugprone-suspicious-include): for that name
#undef main

namespace fs = std::filesystem;

namespace {

/// Takes the place of a console stream's buffer, and adds the lines that were flushed.
class ConsoleBuffer : public std::streambuf {
public:
    ConsoleBuffer(Effects& recorder, std::ostream& replaced, const char* streamName)
        : effects(recorder), stream(replaced), name(streamName), original(replaced.rdbuf(this))
    {
    }

    ~ConsoleBuffer() override
    {
        stream.rdbuf(original);
        stream.clear();
    }

    ConsoleBuffer(const ConsoleBuffer&) = delete;
    ConsoleBuffer& operator=(const ConsoleBuffer&) = delete;

    /// Adds the text that is left.
    void end()
    {
        if (!text.empty()) {
            effects.add(name + " never flushed " + inQuotes(text));
        }
    }

protected:
    int_type overflow(int_type byte) override
    {
        const Effects::Pause pause;
        text += traits_type::to_char_type(byte);
        return traits_type::not_eof(byte);
    }

    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        const Effects::Pause pause;
        text.append(bytes, static_cast<std::size_t>(count));
        return count;
    }

    int sync() override
    {
        const Effects::Pause pause;
        for (std::size_t end = 0; (end = text.find('\n') + 1) != 0; text.erase(0, end)) {
            effects.add(name + " " + inQuotes(text.substr(0, end)));
        }
        return 0;
    }

private:
    Effects& effects;
    std::ostream& stream;
    std::string name;
    std::streambuf* original;
    std::string text;
};

const std::string temporary = configPath + ".filsec";
constexpr char gpioLine[] = "/sys/class/gpio/gpio17";

std::function<void()> configHolds(const std::string& text)
{
    return [text] { writeFile(configPath, text); };
}

std::function<void()> both(const std::function<void()>& first, const std::function<void()>& second)
{
    return [first, second] {
        first();
        second();
    };
}

void removeSwitch()
{
    fs::remove_all("/sys/class/gpio");
}

void switchReads(const std::string& value)
{
    writeFile(std::string(gpioLine) + "/value", value);
}

const std::function<void()> nothing = [] {};
const std::string atDecoder = R"({"App":{"isEncoder":false}})";
const std::string atEncoder = R"({"App":{"isEncoder":true}})";
const std::function<void()> decoderFile = configHolds(atDecoder);
const std::function<void()> encoderFile = configHolds(atEncoder);

// The parts of a run.

std::string lookFor(const std::string& path, const std::string& error = "")
{
    return "look for " + path + (error.empty() ? "" : ": " + error) + "\n";
}

const std::string noMarker =
    lookFor("/config/DECODER", "ENOENT") + lookFor("/config/ENCODER", "ENOENT");

/// The value file holds these bytes: they are read when the direction is set, and then again.
std::string switchRead(const std::string& bytes)
{
    const std::string read = "read /sys/class/gpio/gpio17/value " + inQuotes(bytes) + "\n";
    return lookFor(gpioLine) + "wait 0.020000000\n" + lookFor("/sys/class/gpio/gpio17/value") +
           "empty /sys/class/gpio/gpio17/direction\n"
           "write /sys/class/gpio/gpio17/direction \"in\"\n" +
           read + read;
}

std::string record(const std::string& stream, const std::string& level, int priority,
                   const std::string& text)
{
    return stream + " " + inQuotes(level + text + "\n") + "\nlog " + std::to_string(priority) +
           " switch-querier " + inQuotes(text + "\n") + "\n";
}

std::string error(const std::string& text)
{
    return record("stderr", "ERROR: ", 3, text);
}

/// The last part of a run that decides a mode.
std::string end(const std::string& text, int status)
{
    return record("stdout", "", 6, text) + "exit " + std::to_string(status) + "\n";
}

const std::string switchMissing = lookFor(gpioLine, "ENOENT") +
                                  "create /sys/class/gpio/export: ENOENT\n" +
                                  error(expected::cannotInitSwitch());

std::string configRead(const std::string& text)
{
    return lookFor(configPath) + "read /appliance/config.json " + inQuotes(text) + "\n";
}

std::string shown(const std::string& stream, const expected::Lines& lines)
{
    std::string text;
    for (const std::string& line : lines) {
        text += stream + " " + inQuotes(line) + "\n";
    }
    return text;
}

std::string report(const expected::Deciders& deciders, int recorded, int newMode)
{
    return shown("stderr", expected::report(deciders, recorded, newMode));
}

std::string usageShown()
{
    expected::Lines lines;
    std::istringstream usage(expected::usage("switch-querier"));
    for (std::string line; std::getline(usage, line);) {
        lines.push_back(line + "\n");
    }
    return shown("stdout", lines);
}

const std::string temporaryWritten = R"(create /appliance/config.json.filsec
write /appliance/config.json.filsec "{\n    "App": {\n      "isEncoder": true\n    }\n  }"
look for /appliance/config.json.filsec
sync /appliance/config.json.filsec
)";

const std::string replaced = temporaryWritten +
                             R"(rename /appliance/config.json.filsec /appliance/config.json
look for /appliance/config.json
sync /appliance/config.json
look for /appliance/
sync /appliance/
)";

std::vector<RunKind> makeRunKinds()
{
    const expected::Deciders switchLow{.hardware = 1};
    const std::string ready = noMarker + switchRead("0\n");
    const std::string toEncoder = report(switchLow, 0, 1);
    const std::string update = ready + configRead(atDecoder) + toEncoder;
    const std::string usage = usageShown() + "exit 96\n";
    const std::string large = R"({"a")" + std::string(2'000, ' ') + "1}";
    return {
        {"Query",
         {"-query"},
         nothing,
         ready + shown("stdout", expected::report(switchLow)) + "exit 0\n"},
        {"QueryWithoutSwitch",
         {"-query"},
         removeSwitch,
         noMarker + switchMissing + shown("stdout", expected::report({})) + "exit 0\n"},
        {"NoArguments", {}, nothing, usage},
        {"ThreeArguments", {configPath, "-enc", "-enc"}, nothing, usage},
        {"BadParameter", {"-query", "-Enc"}, nothing, failed(expected::unknownParameter())},
        {"ParameterAfterQuery",
         {"-query", "-query"},
         nothing,
         ready + failed(expected::parameterAfterQuery())},
        {"Unreadable",
         {configPath},
         nothing,
         ready + lookFor(configPath, "ENOENT") + failed(expected::unreadable(configPath))},
        {"SyntaxError",
         {configPath},
         configHolds(R"({"a" 1})"),
         ready + configRead(R"({"a" 1})") + failed(expected::syntaxError(5, -4))},
        {"SyntaxErrorAtALargePosition",
         {configPath},
         configHolds(large),
         ready + configRead(large) + failed(expected::syntaxError(2'004, -4))},
        {"FlagMissing",
         {configPath},
         configHolds("{}"),
         ready + configRead("{}") + failed(expected::flagMissing())},
        {"FlagNotBoolean",
         {configPath},
         configHolds(R"({"App":{"isEncoder":1}})"),
         ready + configRead(R"({"App":{"isEncoder":1}})") + failed(expected::flagNotBoolean())},
        {"NothingDecides",
         {configPath},
         both(decoderFile, [] { switchReads("1"); }),
         noMarker + switchRead("1") + error(expected::cannotReadSwitch()) + configRead(atDecoder) +
             report({}, 0, -1) + failed(expected::nothingDecides())},
        {"TemporaryFileNotOpened",
         {configPath},
         both(decoderFile, [] { fs::create_directory(temporary); }),
         update + lookFor(temporary, "EISDIR") + failed(expected::notOpened())},
        {"NotRenamed",
         {configPath},
         both(decoderFile,
              [] {
                  writeFile(temporary, "old");
                  chmod("/appliance", 0555);
              }),
         update + "empty" + temporaryWritten.substr(std::string("create").size()) +
             "rename /appliance/config.json.filsec /appliance/config.json: EACCES\n" +
             failed(expected::notWritten(-3))},
        {"NotNeeded",
         {configPath},
         encoderFile,
         ready + configRead(atEncoder) + report(switchLow, 1, 1) + end(expected::notNeeded(1), 1)},
        {"UpdateBySwitch",
         {configPath},
         decoderFile,
         update + replaced + end(expected::updated(1), 1)},
        {"UpdateByMarker",
         {configPath},
         both(decoderFile,
              [] {
                  switchReads("1\n");
                  writeFile("/config/ENCODER", "");
              }),
         lookFor("/config/DECODER", "ENOENT") + lookFor("/config/ENCODER") + switchRead("1\n") +
             configRead(atDecoder) + report({.markerFile = 1, .hardware = 0}, 0, 1) + replaced +
             end(expected::updated(1), 1)},
        {"Flip",
         {configPath, "-flip"},
         both(decoderFile,
              [] {
                  removeSwitch();
                  writeFile("/config/DECODER", "");
                  writeFile("/config/ENCODER", "");
              }),
         lookFor("/config/DECODER") + switchMissing + configRead(atDecoder) +
             report({.parameter = 2, .markerFile = 0}, 0, 1) + replaced +
             end(expected::updated(1), 1)},
        {"QueryOfAFile", {configPath, "-query"}, decoderFile, update + "exit 0\n"},
    };
}

}  // namespace

void PrintTo(const RunKind& kind, std::ostream* out)
{
    *out << kind.name;
}

const std::vector<RunKind>& runKinds()
{
    static const std::vector<RunKind> kinds = makeRunKinds();
    return kinds;
}

void resetAppliance()
{
    fs::permissions("/appliance", fs::perms(0755));
    emptyDirectory("/appliance");
    emptyDirectory("/config");
    emptyDirectory("/sys/class/gpio");
    fs::create_directory(gpioLine);
    switchReads("0\n");
    writeFile(std::string(gpioLine) + "/direction", "in\n");
}

std::string runProgram(Effects& effects, const std::vector<std::string>& arguments,
                       const std::string& programPath)
{
    std::vector<std::string> words = {programPath};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    SystemLog systemLog;
    effects.catchUp = [&] {
        for (const LogRecord& sent : systemLog.drain()) {
            effects.add("log " + std::to_string(sent.level) + " " + sent.identity + " " +
                        inQuotes(sent.text));
        }
    };
    ConsoleBuffer out(effects, std::cout, "stdout");
    ConsoleBuffer err(effects, std::cerr, "stderr");
    std::string transcript = effects.record([&] {
        const int status = programMain(static_cast<int>(words.size()), argv.data());
        const Effects::Pause pause;
        out.end();
        err.end();
        effects.add("exit " + std::to_string(status));
    });
    effects.catchUp = [] {};
    return transcript;
}

std::string runWith(const std::vector<std::string>& arguments, const std::string& programPath)
{
    Effects effects;
    return runProgram(effects, arguments, programPath);
}

std::string runOf(const RunKind& kind, const std::string& programPath)
{
    resetAppliance();
    kind.arrange();
    return runWith(kind.arguments, programPath);
}

std::string failed(const expected::Failure& failure)
{
    return error(failure.message) + "exit " + std::to_string(failure.status) + "\n";
}
