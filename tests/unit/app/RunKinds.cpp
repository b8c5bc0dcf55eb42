// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/app/RunKinds.h"

#include <sys/stat.h>

#include <filesystem>
#include <iostream>
#include <streambuf>

#include "tests/appliance/Files.h"
#include "tests/unit/app/ProgramMain.h"

namespace fs = std::filesystem;

namespace {

/// Adds what is inserted to the transcript, one line for each flush.
class ConsoleBuffer : public std::streambuf {
public:
    ConsoleBuffer(Calls& recorder, std::ostream& replaced, const char* streamName)
        : calls(recorder), stream(replaced), name(streamName), original(replaced.rdbuf(this))
    {
    }

    ~ConsoleBuffer() override
    {
        stream.rdbuf(original);
        stream.clear();
    }

    ConsoleBuffer(const ConsoleBuffer&) = delete;
    ConsoleBuffer& operator=(const ConsoleBuffer&) = delete;

    void flush(const char* remark)
    {
        const Calls::Inside inside;
        if (!text.empty()) {
            calls.add(name + remark + quoted(text.data(), text.size()));
            text.clear();
        }
    }

protected:
    int_type overflow(int_type byte) override
    {
        const Calls::Inside inside;
        text += traits_type::to_char_type(byte);
        return traits_type::not_eof(byte);
    }

    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        const Calls::Inside inside;
        text.append(bytes, static_cast<std::size_t>(count));
        return count;
    }

    int sync() override
    {
        flush(": ");
        return 0;
    }

private:
    Calls& calls;
    std::ostream& stream;
    std::string name;
    std::streambuf* original;
    std::string text;
};

constexpr char config[] = "/appliance/config.json";
constexpr char temporary[] = "/appliance/config.json.filsec";

std::function<void()> configHolds(const std::string& text)
{
    return [text] { writeFile(config, text); };
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
    writeFile("/sys/class/gpio/gpio17/value", value);
}

const std::function<void()> nothing = [] {};
const std::string atDecoder = R"({"App":{"isEncoder":false}})";
const std::string atEncoder = R"({"App":{"isEncoder":true}})";
const std::function<void()> decoderFile = configHolds(atDecoder);
const std::function<void()> encoderFile = configHolds(atEncoder);

// The steps of a run.

const std::string logsOpened = R"(openlog "switch-querier" options 0 facility 0
openlog "switch-querier" options 0 facility 0
)";

const std::string logsClosed = R"(closelog
closelog
)";

const std::string noMarker = R"(fopen /config/DECODER r = ENOENT
fopen /config/ENCODER r = ENOENT
)";

const std::string decoderMarker = R"(fopen /config/DECODER r
fclose /config/DECODER
)";

const std::string encoderMarker = R"(fopen /config/DECODER r = ENOENT
fopen /config/ENCODER r
fclose /config/ENCODER
)";

/// The bytes are those of the value file, as quoted.
std::string switchRead(const std::string& bytes)
{
    const std::string read = "lseek /sys/class/gpio/gpio17/value start\n"
                             "read /sys/class/gpio/gpio17/value \"" +
                             bytes + "\"\n";
    return R"(close descriptor -1 = EBADF
opendir /sys/class/gpio/gpio17
usleep 20000
open /sys/class/gpio/gpio17/value O_RDWR
fopen /sys/class/gpio/gpio17/direction w
write /sys/class/gpio/gpio17/direction "in"
fclose /sys/class/gpio/gpio17/direction
)" + read + read;
}

const std::string switchClosed = R"(close /sys/class/gpio/gpio17/value
)";

const std::string switchMissing = R"(close descriptor -1 = EBADF
opendir /sys/class/gpio/gpio17 = ENOENT
fopen /sys/class/gpio/export w = ENOENT
)";

const std::string missingSwitchClosed = R"(close descriptor -1 = EBADF
)";

/// An error record, whatever its text.
std::string error(const std::string& text)
{
    return "system clock\n"
           "stderr: \"ERROR: " +
           text +
           "\\n\"\n"
           "syslog 3 %s as switch-querier: \"" +
           text + "\\n\"\n";
}

std::string information(const std::string& text)
{
    return "system clock\n"
           "stdout: \"" +
           text +
           "\\n\"\n"
           "syslog 6 %s as switch-querier: \"" +
           text + "\\n\"\n";
}

const std::string switchLow = switchRead("0\\n") + switchClosed;
const std::string switchHigh = switchRead("1\\n") + switchClosed;
const std::string switchUnreadable =
    switchRead("1") + error("Cannot read GPIO17 status") + switchClosed;
const std::string switchNotThere =
    switchMissing + error("Cannot init GPIO17") + missingSwitchClosed;

std::string configRead(const std::string& text)
{
    return "fopen /appliance/config.json rb\n"
           "lseek /appliance/config.json end\n"
           "lseek /appliance/config.json start\n"
           "read /appliance/config.json \"" +
           text +
           "\"\n"
           "fclose /appliance/config.json\n";
}

std::string report(const std::string& hardware, const std::string& configValue,
                   const std::string& parameter, const std::string& overrideFile,
                   const std::string& newValue)
{
    return "stderr: \"Hardware switch: " + hardware +
           "\\n\"\n"
           "stderr: \"Config file    : " +
           configValue +
           "\\n\"\n"
           "stderr: \"Override parm  : " +
           parameter +
           "\\n\"\n"
           "stderr: \"Override file  : " +
           overrideFile +
           "\\n\"\n"
           "stderr: \"New setting    : " +
           newValue + "\\n\"\n";
}

const std::string temporaryWritten = R"(fopen /appliance/config.json.filsec wb
write /appliance/config.json.filsec "{\n    "App": {\n      "isEncoder": true\n    }\n  }"
fclose /appliance/config.json.filsec
open /appliance/config.json.filsec O_RDONLY|O_CLOEXEC|O_NONBLOCK|O_NOCTTY
fsync /appliance/config.json.filsec
close /appliance/config.json.filsec
)";

const std::string replaced = temporaryWritten +
                             R"(rename /appliance/config.json.filsec /appliance/config.json
open /appliance/config.json O_RDONLY|O_CLOEXEC|O_NONBLOCK|O_NOCTTY
fsync /appliance/config.json
close /appliance/config.json
open /appliance/ O_RDONLY|O_CLOEXEC|O_NONBLOCK|O_NOCTTY
fsync /appliance/
close /appliance/
)";

std::vector<RunKind> makeRunKinds()
{
    const std::string ready = logsOpened + noMarker + switchLow;
    const std::string toEncoder = report("Encoder", "Decoder", "None", "None", "Encoder");
    return {
        {"Query",
         {"-query"},
         nothing,
         ready +
             "stdout: \"Hardware switch: Encoder\\n\"\n"
             "stdout: \"Override parm  : None\\n\"\n"
             "stdout: \"Override file  : None\\n\"\n" +
             logsClosed + "exit 0\n"},
        {"QueryWithoutSwitch",
         {"-query"},
         removeSwitch,
         logsOpened + noMarker + switchNotThere +
             "stdout: \"Hardware switch: Could not be determined\\n\"\n"
             "stdout: \"Override parm  : None\\n\"\n"
             "stdout: \"Override file  : None\\n\"\n" +
             logsClosed + "exit 0\n"},
        {"BadParameter",
         {"-query", "-Enc"},
         nothing,
         logsOpened + error("Invalid enc/dec command line parameter at line ") + logsClosed +
             "exit 119\n"},
        {"ParameterAfterQuery",
         {"-query", "-query"},
         nothing,
         ready + error("No 2nd parameter allowed with -query") + logsClosed + "exit 152\n"},
        {"Unreadable",
         {config},
         nothing,
         ready + "fopen /appliance/config.json rb = ENOENT\n" +
             error("Cannot read Json config file '/appliance/config.json'") + logsClosed +
             "exit 163\n"},
        {"SyntaxError",
         {config},
         configHolds("{\"a\" 1}"),
         ready + configRead("{\"a\" 1}") + error("Cannot decode Json at position 5, code -4") +
             logsClosed + "exit 174\n"},
        {"SyntaxErrorAtALargePosition",
         {config},
         configHolds("{\"a\"" + std::string(2'000, ' ') + "1}"),
         ready +
             "fopen /appliance/config.json rb\n"
             "lseek /appliance/config.json end\n"
             "lseek /appliance/config.json start\n"
             "read /appliance/config.json 2006 bytes\n"
             "fclose /appliance/config.json\n" +
             error("Cannot decode Json at position 2004, code -4") + logsClosed + "exit 174\n"},
        {"FlagMissing",
         {config},
         configHolds("{}"),
         ready + configRead("{}") + error("App/isEncoder parameter not found in Json text") +
             logsClosed + "exit 180\n"},
        {"FlagNotBoolean",
         {config},
         configHolds(R"({"App":{"isEncoder":1}})"),
         ready + configRead(R"({"App":{"isEncoder":1}})") +
             error("App/isEncoder parameter is not a boolean") + logsClosed + "exit 186\n"},
        {"NothingDecides",
         {config},
         both(decoderFile, [] { switchReads("1"); }),
         logsOpened + noMarker + switchUnreadable + configRead(atDecoder) +
             report("Could not be determined", "Decoder", "None", "None", "Not specified") +
             error("No hardware or user setting known.") + logsClosed + "exit 210\n"},
        {"TemporaryFileNotOpened",
         {config},
         both(decoderFile, [] { fs::create_directory(temporary); }),
         ready + configRead(atDecoder) + toEncoder +
             "fopen /appliance/config.json.filsec wb = EISDIR\n" +
             error("Cannot open Json file for writing, code -1") + logsClosed + "exit 226\n"},
        {"NotRenamed",
         {config},
         both(decoderFile,
              [] {
                  writeFile(temporary, "");
                  chmod("/appliance", 0555);
              }),
         ready + configRead(atDecoder) + toEncoder + temporaryWritten +
             "rename /appliance/config.json.filsec /appliance/config.json = EACCES\n" +
             error("Cannot write Json file, code -3") + logsClosed + "exit 236\n"},
        {"NotNeeded",
         {config},
         encoderFile,
         ready + configRead(atEncoder) + report("Encoder", "Encoder", "None", "None", "Encoder") +
             information("Config file update to Encoder mode not needed.") + logsClosed +
             "exit 1\n"},
        {"UpdateBySwitch",
         {config},
         decoderFile,
         ready + configRead(atDecoder) + toEncoder + replaced +
             information("Config file successfully updated to Encoder mode") + logsClosed +
             "exit 1\n"},
        {"UpdateByMarker",
         {config},
         both(decoderFile,
              [] {
                  switchReads("1\n");
                  writeFile("/config/ENCODER", "");
              }),
         logsOpened + encoderMarker + switchHigh + configRead(atDecoder) +
             report("Decoder", "Decoder", "None", "Encoder", "Encoder") + replaced +
             information("Config file successfully updated to Encoder mode") + logsClosed +
             "exit 1\n"},
        {"Flip",
         {config, "-flip"},
         both(decoderFile,
              [] {
                  removeSwitch();
                  writeFile("/config/DECODER", "");
                  writeFile("/config/ENCODER", "");
              }),
         logsOpened + decoderMarker + switchNotThere + configRead(atDecoder) +
             report("Could not be determined", "Decoder", "Flipped to Encoder", "Decoder",
                    "Encoder") +
             replaced + information("Config file successfully updated to Encoder mode") +
             logsClosed + "exit 1\n"},
        {"QueryOfAFile",
         {config, "-query"},
         decoderFile,
         ready + configRead(atDecoder) + toEncoder + logsClosed + "exit 0\n"},
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
    fs::create_directory("/sys/class/gpio/gpio17");
    switchReads("0\n");
    writeFile("/sys/class/gpio/gpio17/direction", "in\n");
}

std::string runProgram(Calls& calls, const std::vector<std::string>& arguments,
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
    ConsoleBuffer out(calls, std::cout, "stdout");
    ConsoleBuffer err(calls, std::cerr, "stderr");
    return calls.record([&] {
        const int status = programMain(static_cast<int>(words.size()), argv.data());
        out.flush(" never flushed: ");
        err.flush(" never flushed: ");
        const Calls::Inside inside;
        calls.add("exit " + std::to_string(status));
    });
}
