// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

// Standard output and standard error as a user sees them, and what becomes of a run that cannot
// write to them.
namespace {

constexpr char shared[] = "/tmp/console";

/// Runs with both outputs on one file, and returns what it holds.
std::string shownTogether(Appliance& appliance, const std::vector<std::string>& arguments)
{
    writeFile(shared, "");
    const RunOptions options{.name = "switch-querier",
                             .prepare =
                                 [] {
                                     const int fd = open(shared, O_WRONLY | O_APPEND | O_CLOEXEC);
                                     dup2(fd, STDOUT_FILENO);
                                     dup2(fd, STDERR_FILENO);
                                 },
                             .wrapper = {}};
    appliance.run(arguments, options);
    return readFile(shared);
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
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        std::_Exit(99);
    }
    close(ends[0]);
    dup2(ends[1], fd);
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

}  // namespace
