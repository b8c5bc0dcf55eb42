// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

using namespace std::chrono_literals;

// Standard output and standard error as a user sees them, and what becomes of a run that cannot
// write to them.
namespace {

class Pipe {
public:
    Pipe()
    {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            std::perror("pipe2");
            std::abort();
        }
    }

    ~Pipe()
    {
        closeEnd(0);
        closeEnd(1);
    }

    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    /// In the new process: makes the end for writing its descriptor of this number.
    void become(int descriptor) const { dup2(ends[1], descriptor); }

    /// Writes until it takes no more. Returns what it holds.
    std::string fill()
    {
        std::string text;
        fcntl(ends[1], F_SETFL, O_NONBLOCK);
        while (write(ends[1], "x", 1) == 1) {
            text += 'x';
        }
        fcntl(ends[1], F_SETFL, 0);
        return text;
    }

    /// Reads so many bytes, or fewer at the end.
    [[nodiscard]] std::string take(std::size_t size) const
    {
        std::string text(size, '\0');
        std::size_t count = 0;
        while (count < size) {
            const ssize_t some = read(ends[0], text.data() + count, size - count);
            if (some <= 0) {
                break;
            }
            count += static_cast<std::size_t>(some);
        }
        return text.substr(0, count);
    }

    /// After the program has ended: reads all that is left.
    std::string takeRest()
    {
        closeEnd(1);
        return take(100'000);
    }

    void closeEnd(std::size_t end)
    {
        if (ends.at(end) >= 0) {
            close(ends.at(end));
        }
        ends.at(end) = -1;
    }

private:
    std::array<int, 2> ends{};
};

/// Runs with both outputs on one pipe, and returns what comes out of it.
std::string shownTogether(Appliance& appliance, const std::vector<std::string>& arguments)
{
    Pipe pipe;
    const auto useIt = [&pipe] {
        pipe.become(STDOUT_FILENO);
        pipe.become(STDERR_FILENO);
    };
    appliance.run(arguments, {.name = "switch-querier", .prepare = useIt, .wrapper = {}});
    return pipe.takeRest();
}

TEST(Console, ShowsTheLinesInOrderWhenBothOutputsGoToOnePlace)
{
    Appliance appliance;
    appliance.setSwitch(Switch::unreadable);
    writeFile(configPath, handwritten("false"));

    EXPECT_EQ(shownTogether(appliance, {configPath, "-flip"}),
              "ERROR: Cannot read GPIO17 status\n"
              "Hardware switch: Could not be determined\n"
              "Config file    : Decoder\n"
              "Override parm  : Flipped to Encoder\n"
              "Override file  : None\n"
              "New setting    : Encoder\n"
              "Config file successfully updated to Encoder mode\n");
    EXPECT_EQ(shownTogether(appliance, {configPath, "-enc"}),
              "ERROR: Cannot read GPIO17 status\n"
              "Hardware switch: Could not be determined\n"
              "Config file    : Encoder\n"
              "Override parm  : Encoder\n"
              "Override file  : None\n"
              "New setting    : Encoder\n"
              "Config file update to Encoder mode not needed.\n");
    EXPECT_EQ(shownTogether(appliance, {"-query"}), "ERROR: Cannot read GPIO17 status\n"
                                                    "Hardware switch: Could not be determined\n"
                                                    "Override parm  : None\n"
                                                    "Override file  : None\n");
}

/// Makes these descriptors something that takes nothing, and handles SIGPIPE like this.
std::function<void()> spoilt(const std::function<void(int fd)>& spoil, bool output, bool error,
                             void (*handler)(int) = SIG_IGN)
{
    return [=] {
        static_cast<void>(std::signal(SIGPIPE, handler));
        if (output) {
            spoil(STDOUT_FILENO);
        }
        if (error) {
            spoil(STDERR_FILENO);
        }
    };
}

void makeFull(int fd)
{
    const int device = open("/dev/full", O_WRONLY | O_CLOEXEC);
    dup2(device, fd);
}

void makePipeWithoutReader(int fd)
{
    Pipe pipe;
    pipe.closeEnd(0);
    pipe.become(fd);
}

struct Run {
    std::vector<std::string> arguments;
    std::string config;
    int status;
    std::string configAfter;
    std::vector<LogRecord> log;
};

const std::string name = "switch-querier";

const std::vector<Run> runs = {
    {{}, "", 96, "", {}},
    {{"-query"}, "", 0, "", {}},
    {{"-query", "-Enc"},
     "",
     119,
     "",
     {{LOG_ERR, name, "Invalid enc/dec command line parameter at line \n"}}},
    {{configPath}, "", 174, "", {{LOG_ERR, name, "Cannot decode Json at position 0, code -1\n"}}},
    {{configPath},
     handwritten("false"),
     1,
     rewritten("true"),
     {{LOG_INFO, name, "Config file successfully updated to Encoder mode\n"}}},
    {{configPath, "-dec"},
     handwritten("true"),
     0,
     rewritten("false"),
     {{LOG_INFO, name, "Config file successfully updated to Decoder mode\n"}}},
    {{configPath, "-query"}, handwritten("false"), 0, handwritten("false"), {}},
};

/// Expects the run to be as with a good console, but for what the console takes.
void expectAsUsual(const Run& run, const std::function<void()>& prepare)
{
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    writeFile(configPath, run.config);

    const RunResult result =
        appliance.run(run.arguments, {.name = name, .prepare = prepare, .wrapper = {}});

    EXPECT_EQ(result.status, run.status);
    EXPECT_EQ(result.log, run.log);
    EXPECT_EQ(readFile(configPath), run.configAfter);
}

/// Expects that of each run, with one output or both spoilt.
void expectAllAsUsual(const std::function<void(int fd)>& spoil)
{
    for (const Run& run : runs) {
        SCOPED_TRACE(testing::Message() << "status " << run.status);
        expectAsUsual(run, spoilt(spoil, true, false));
        expectAsUsual(run, spoilt(spoil, false, true));
        expectAsUsual(run, spoilt(spoil, true, true));
    }
}

TEST(Console, ThatIsFullChangesNoExitStatusNoFileAndNoLog)
{
    expectAllAsUsual(makeFull);
}

TEST(Console, WithoutAReaderChangesNoExitStatusNoFileAndNoLogIfTheSignalIsIgnored)
{
    expectAllAsUsual(makePipeWithoutReader);
}

TEST(Descriptors, OfAConsoleThatIsClosedChangeNoExitStatusNoFileAndNoLog)
{
    expectAllAsUsual([](int fd) { close(fd); });
}

TEST(Console, WithoutAReaderEndsTheRunBeforeOrAfterTheReplacement)
{
    struct Row {
        const char* name;
        bool output;
        std::string configAfter;
    };
    const std::vector<Row> rows = {
        {"standard error takes no report", false, handwritten("false")},
        {"standard output takes no result", true, rewritten("true")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Appliance appliance;
        appliance.setSwitch(Switch::low);
        writeFile(configPath, handwritten("false"));

        const RunResult run = appliance.run(
            {configPath},
            {.name = "switch-querier",
             .prepare = spoilt(makePipeWithoutReader, row.output, !row.output, SIG_DFL),
             .wrapper = {}});

        EXPECT_EQ(run.signal, SIGPIPE);
        EXPECT_EQ(run.log, std::vector<LogRecord>{});
        EXPECT_EQ(readFile(configPath), row.configAfter);
        EXPECT_EQ(namesIn(Appliance::directory), std::vector<std::string>{"config.json"});
    }
}

/// Returns whether the file gets this text within the time limit of a run.
bool comesToHold(const std::string& path, const std::string& text)
{
    const auto end = std::chrono::steady_clock::now() + 60s;
    while (readFile(path) != text && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(1ms);
    }
    return readFile(path) == text;
}

TEST(Console, ThatIsAFullPipeBlocksTheRunBeforeOrAfterTheReplacement)
{
    struct Row {
        const char* name;
        int descriptor;
        std::string lastFile;  ///< the one that changes last before the run blocks
        std::string lastText;
        std::string configMeanwhile;
        std::string shown;
    };
    const std::string report = "Hardware switch: Encoder\n"
                               "Config file    : Decoder\n"
                               "Override parm  : None\n"
                               "Override file  : None\n"
                               "New setting    : Encoder\n";
    const std::string result = "Config file successfully updated to Encoder mode\n";
    const std::vector<Row> rows = {
        {"standard error", STDERR_FILENO, "/sys/class/gpio/gpio17/direction", "in",
         handwritten("false"), report},
        {"standard output", STDOUT_FILENO, configPath, rewritten("true"), rewritten("true"),
         result},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Appliance appliance;
        appliance.setSwitch(Switch::low);
        writeFile(configPath, handwritten("false"));
        Pipe pipe;
        const std::string filling = pipe.fill();
        const auto useIt = [&] { pipe.become(row.descriptor); };

        std::future<RunResult> ended = std::async(std::launch::async, [&] {
            return appliance.run({configPath},
                                 {.name = "switch-querier", .prepare = useIt, .wrapper = {}});
        });
        EXPECT_TRUE(comesToHold(row.lastFile, row.lastText));
        EXPECT_EQ(ended.wait_for(200ms), std::future_status::timeout) << "it did not block";
        EXPECT_EQ(readFile(configPath), row.configMeanwhile);
        EXPECT_EQ(appliance.systemLog.drain(), std::vector<LogRecord>{});

        EXPECT_EQ(pipe.take(filling.size()), filling);
        const RunResult run = ended.get();
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.log, (std::vector<LogRecord>{{LOG_INFO, name, result}}));
        EXPECT_EQ(pipe.takeRest(), row.shown);
        EXPECT_EQ(readFile(configPath), rewritten("true"));
    }
}

}  // namespace
