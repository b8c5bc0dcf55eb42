// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Guarantee.h"
#include "tests/stages/faults/Scenario.h"

// A console that cannot be written to, or that is missing. All else is as with a good one.
namespace {

/// Bit n stands for descriptor n.
using Descriptors = unsigned;

constexpr Descriptors input = 1;
constexpr Descriptors output = 2;
constexpr Descriptors error = 4;

struct Unusable {
    std::string name;
    Descriptors which;
};

const std::vector<Unusable> everySet = {
    {"none", 0},
    {"0", input},
    {"1", output},
    {"0 and 1", input | output},
    {"2", error},
    {"0 and 2", input | error},
    {"1 and 2", output | error},
    {"0, 1 and 2", input | output | error},
};

const std::vector<Unusable> outputSets = {
    {"1", output},
    {"2", error},
    {"1 and 2", output | error},
};

void forEach(Descriptors which, const std::function<void(int)>& action)
{
    for (int fd = 0; fd <= 2; ++fd) {
        if ((which >> fd & 1U) != 0) {
            action(fd);
        }
    }
}

struct Ended {
    RunResult run;
    Tree tree;
};

Ended runPreparedBy(const Scenario& scenario, const std::function<void()>& prepare)
{
    Appliance appliance;
    arrange(scenario, appliance);
    Ended ended;
    ended.run = appliance.run(scenario.arguments(),
                              {.name = "switch-querier", .prepare = prepare, .wrapper = {}});
    ended.tree = currentTree();
    return ended;
}

/// Expects the same but for the output to the unusable descriptors.
void expectSame(const Ended& ended, const Ended& usual, Descriptors unusable)
{
    EXPECT_EQ(ended.run.status, usual.run.status);
    EXPECT_EQ(ended.run.signal, 0);
    EXPECT_EQ(ended.run.out, (unusable & output) != 0 ? "" : usual.run.out);
    EXPECT_EQ(ended.run.err, (unusable & error) != 0 ? "" : usual.run.err);
    EXPECT_EQ(ended.run.log, usual.run.log);
    EXPECT_EQ(ended.tree, usual.tree);
}

class Console : public testing::TestWithParam<Scenario> {};

TEST_P(Console, MayBeClosed)
{
    const Ended usual = runPreparedBy(GetParam(), [] {});
    for (const Unusable& closed : everySet) {
        SCOPED_TRACE("closed: " + closed.name);
        expectSame(
            runPreparedBy(GetParam(), [&] { forEach(closed.which, [](int fd) { close(fd); }); }),
            usual, closed.which);
    }
    RecordProperty("consoles", static_cast<int>(everySet.size()));
}

TEST_P(Console, MayBeAFullDevice)
{
    const Ended usual = runPreparedBy(GetParam(), [] {});
    for (const Unusable& full : outputSets) {
        SCOPED_TRACE("full: " + full.name);
        const auto prepare = [&] {
            const int device = open("/dev/full", O_WRONLY | O_CLOEXEC);
            forEach(full.which, [&](int fd) { dup2(device, fd); });
        };
        expectSame(runPreparedBy(GetParam(), prepare), usual, full.which);
    }
    RecordProperty("consoles", static_cast<int>(outputSets.size()));
}

/// Makes these descriptors pipes that nobody reads, and handles SIGPIPE like this.
std::function<void()> pipesWithoutReader(Descriptors which, void (*handler)(int))
{
    return [which, handler] {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            std::_Exit(99);
        }
        close(ends[0]);
        forEach(which, [&](int fd) { dup2(ends[1], fd); });
        std::signal(SIGPIPE, handler);
    };
}

TEST_P(Console, MayHaveLostItsReaderIfTheCallerIgnoresTheSignal)
{
    const Ended usual = runPreparedBy(GetParam(), [] {});
    for (const Unusable& gone : outputSets) {
        SCOPED_TRACE("without a reader: " + gone.name);
        expectSame(runPreparedBy(GetParam(), pipesWithoutReader(gone.which, SIG_IGN)), usual,
                   gone.which);
    }
    RecordProperty("consoles", static_cast<int>(outputSets.size()));
}

TEST_P(Console, ThatHasLostItsReaderEndsTheRunButTearsNoFile)
{
    const Scenario& scenario = GetParam();
    const Ended usual = runPreparedBy(scenario, [] {});
    for (const Unusable& gone : outputSets) {
        SCOPED_TRACE("without a reader: " + gone.name);
        Appliance appliance;
        arrange(scenario, appliance);
        const Tree before = currentTree();

        const RunResult run =
            appliance.run(scenario.arguments(), {.name = "switch-querier",
                                                 .prepare = pipesWithoutReader(gone.which, SIG_DFL),
                                                 .wrapper = {}});

        const bool speaks = ((gone.which & output) != 0 && !usual.run.out.empty()) ||
                            ((gone.which & error) != 0 && !usual.run.err.empty());
        EXPECT_EQ(run.signal, speaks ? SIGPIPE : 0);
        EXPECT_TRUE(holdsGuarantee(scenario, run, before, {.console = true, .signal = SIGPIPE}));
        std::set<Tree> seen;
        EXPECT_TRUE(nextRunRecovers(scenario, appliance, seen));
    }
    RecordProperty("consoles", static_cast<int>(outputSets.size()));
}

INSTANTIATE_TEST_SUITE_P(, Console, testing::ValuesIn(scenarios()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
