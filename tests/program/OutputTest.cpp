// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"
#include "tests/program/ExpectedOutcome.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;

// The console and the system log: what a run shows on both together, and what becomes of a run that
// cannot write to them.
namespace {

struct Row {
    const char* name;
    expected::Sources sources;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

const expected::Configuration recordsDecoder = configurationRecording(false);

const std::vector<Row> rows = {
    {"Usage", {}},
    {"UnknownParameter", {.arguments = {"-query", "-Enc"}}},
    {"Query", {.arguments = {"-query"}}},
    {"SyntaxError",
     {.arguments = {configPath}, .configuration = {.refusal = expected::syntaxError(0, -1)}}},
    {"Update",
     {.arguments = {configPath}, .hardware = Switch::low, .configuration = recordsDecoder}},
    {"FlipWithAnUnreadableSwitch",
     {.arguments = {configPath, "-flip"},
      .hardware = Switch::unreadable,
      .configuration = recordsDecoder}},
    {"NotNeeded", {.arguments = {configPath, "-dec"}, .configuration = recordsDecoder}},
    {"QueryOfAFile",
     {.arguments = {configPath, "-query"},
      .hardware = Switch::high,
      .configuration = recordsDecoder}},
    {"NothingDecides", {.arguments = {configPath}, .configuration = recordsDecoder}},
};

void arrange(const expected::Sources& sources, Appliance& appliance)
{
    appliance.setSwitch(sources.hardware);
    writeFile(configPath, sources.configuration.text);
}

/// Some of the standard descriptors; bit n stands for descriptor n.
using Descriptors = unsigned;

constexpr Descriptors output = 1U << STDOUT_FILENO;
constexpr Descriptors error = 1U << STDERR_FILENO;
constexpr Descriptors outputSets[] = {output, error, output | error};

/// In the new process: does something to each of the descriptors.
std::function<void()> toEachOf(Descriptors which, const std::function<void(int)>& action)
{
    return [=] {
        for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
            if ((which >> static_cast<unsigned>(fd) & 1U) != 0) {
                action(fd);
            }
        }
    };
}

void makeFull(int fd)
{
    dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), fd);
}

/// Makes each of the descriptors a pipe that nobody reads, and handles SIGPIPE like this.
std::function<void()> withoutReader(Descriptors which, void (*handler)(int))
{
    return [=] {
        static_cast<void>(std::signal(SIGPIPE, handler));
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            std::_Exit(99);
        }
        close(ends[0]);
        toEachOf(which, [&ends](int fd) { dup2(ends[1], fd); })();
    };
}

class Console : public testing::TestWithParam<Row> {
protected:
    const expected::Sources& sources = GetParam().sources;
    const expected::Run expectedRun = expected::run(sources);

    /// Expects the run to be as with a good console, but for what these descriptors would show.
    void expectNothingElseMissing(Descriptors lost, const std::function<void()>& prepare) const
    {
        SCOPED_TRACE(testing::Message() << "descriptors " << lost);
        expected::Run outcome = expectedRun;
        if ((lost & output) != 0) {
            outcome.out.clear();
        }
        if ((lost & error) != 0) {
            outcome.err.clear();
        }
        Appliance appliance;
        arrange(sources, appliance);

        expectRun(appliance, sources.arguments, outcome, {.prepare = prepare});
    }
};

TEST_P(Console, ShowsTheLinesInOrderWhenBothOutputsGoToOnePlace)
{
    Appliance appliance;
    arrange(sources, appliance);

    const RunResult run =
        appliance.run(sources.arguments, {.prepare = [] { dup2(STDOUT_FILENO, STDERR_FILENO); }});

    EXPECT_EQ(run.out, expectedRun.err + expectedRun.out);
}

// Nor does any of it end up in a file that the program opens.
TEST_P(Console, MayBeClosed)
{
    for (Descriptors closed = 0; closed < 8; ++closed) {
        expectNothingElseMissing(closed, toEachOf(closed, [](int fd) { close(fd); }));
    }
}

TEST_P(Console, MayBeFull)
{
    for (const Descriptors full : outputSets) {
        expectNothingElseMissing(full, toEachOf(full, makeFull));
    }
}

TEST_P(Console, MayHaveNoReaderIfTheCallerIgnoresTheSignal)
{
    for (const Descriptors unread : outputSets) {
        expectNothingElseMissing(unread, withoutReader(unread, SIG_IGN));
    }
}

// Standard error shows all that it does before the replacement, standard output after it.
TEST_P(Console, WithoutAReaderEndsTheRunBeforeOrAfterTheReplacement)
{
    for (const Descriptors unread : outputSets) {
        SCOPED_TRACE(testing::Message() << "descriptors " << unread);
        const bool before = (unread & error) != 0 && !expectedRun.err.empty();
        const bool after = !before && (unread & output) != 0 && !expectedRun.out.empty();
        std::vector<LogRecord> log = before ? std::vector<LogRecord>{} : expectedRun.log;
        if (after) {
            std::erase_if(log, [](const LogRecord& record) { return record.level == LOG_INFO; });
        }
        Appliance appliance;
        arrange(sources, appliance);

        const RunResult run =
            appliance.run(sources.arguments, {.prepare = withoutReader(unread, SIG_DFL)});

        EXPECT_EQ(run.signal, before || after ? SIGPIPE : 0);
        EXPECT_EQ(run.log, log);
        EXPECT_EQ(readFile(configPath),
                  before ? sources.configuration.text : expectedRun.configuration);
        EXPECT_EQ(namesIn(Appliance::directory), std::vector<std::string>{"config.json"});
    }
}

TEST_P(Console, IsAsUsualWithoutASystemLog)
{
    const std::string logPath = "/dev/log";
    struct Unusable {
        const char* name;
        std::function<void(Appliance&)> arrange;
    };
    const std::vector<Unusable> unusable = {
        {"missing", [&](Appliance&) { fs::remove(logPath); }},
        {"dead", [](Appliance& appliance) { appliance.systemLog.die(); }},
        {"a plain file",
         [&](Appliance&) {
             fs::remove(logPath);
             writeFile(logPath, "plain");
         }},
        {"a directory",
         [&](Appliance&) {
             fs::remove(logPath);
             fs::create_directory(logPath);
         }},
    };
    expected::Run outcome = expectedRun;
    outcome.log.clear();
    for (const Unusable& systemLog : unusable) {
        SCOPED_TRACE(systemLog.name);
        Appliance appliance;
        arrange(sources, appliance);
        systemLog.arrange(appliance);

        expectRun(appliance, sources.arguments, outcome);
    }
}

INSTANTIATE_TEST_SUITE_P(, Console, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

/// Returns whether the file gets this text within the time limit of a run.
bool comesToHold(const std::string& path, const std::string& text)
{
    const auto end = std::chrono::steady_clock::now() + 60s;
    while (readFile(path) != text && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(1ms);
    }
    return readFile(path) == text;
}

TEST(FullPipe, BlocksTheRunBeforeOrAfterTheReplacement)
{
    const expected::Sources sources{
        .arguments = {configPath}, .hardware = Switch::low, .configuration = recordsDecoder};
    const expected::Run expectedRun = expected::run(sources);
    struct Pause {
        int descriptor;
        std::string lastFile;  ///< the one that changes last before the run blocks
        std::string lastText;
        std::string configMeanwhile;
        std::string shown;
    };
    const std::vector<Pause> pauses = {
        {STDERR_FILENO, "/sys/class/gpio/gpio17/direction", "in", sources.configuration.text,
         expectedRun.err},
        {STDOUT_FILENO, configPath, expectedRun.configuration, expectedRun.configuration,
         expectedRun.out},
    };
    for (const Pause& pause : pauses) {
        SCOPED_TRACE(testing::Message() << "descriptor " << pause.descriptor);
        Appliance appliance;
        arrange(sources, appliance);
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        const std::string filling(static_cast<std::size_t>(fcntl(ends[1], F_GETPIPE_SZ)), 'x');
        ASSERT_EQ(write(ends[1], filling.data(), filling.size()), std::ssize(filling));

        std::future<RunResult> ended = std::async(std::launch::async, [&] {
            return appliance.run(sources.arguments,
                                 {.prepare = [&] { dup2(ends[1], pause.descriptor); }});
        });
        EXPECT_TRUE(comesToHold(pause.lastFile, pause.lastText));
        EXPECT_EQ(ended.wait_for(200ms), std::future_status::timeout) << "it did not block";
        EXPECT_EQ(readFile(configPath), pause.configMeanwhile);
        EXPECT_EQ(appliance.systemLog.drain(), std::vector<LogRecord>{});

        close(ends[1]);
        EXPECT_EQ(readFile("/proc/self/fd/" + std::to_string(ends[0])), filling + pause.shown);
        close(ends[0]);
        const RunResult run = ended.get();
        EXPECT_EQ(run.status, expectedRun.status);
        EXPECT_EQ(run.log, expectedRun.log);
        EXPECT_EQ(readFile(configPath), expectedRun.configuration);
    }
}

}  // namespace
