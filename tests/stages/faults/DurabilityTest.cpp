// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/stages/faults/Scenario.h"

// There is no power cut here. The order of the calls makes the file survive one.
namespace {

std::string between(const std::string& text, const std::string& before, const std::string& after)
{
    const std::size_t start = text.find(before) + before.size();
    return text.substr(start, text.find(after, start) - start);
}

/// The successful calls on files in the appliance's directory, with the paths alone as arguments:
/// "fsync /appliance".
std::vector<std::string> callsOnFiles(const std::string& trace)
{
    std::vector<std::string> calls;
    std::istringstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
        if (line.find("= -1") != std::string::npos) {
            continue;
        }
        const std::string name = line.substr(0, line.find('('));
        if (name.starts_with("rename")) {
            const std::string to = line.substr(line.rfind(", \"") + 2);
            calls.push_back("rename " + between(line, "\"", "\"") + " " + between(to, "\"", "\""));
            continue;
        }
        const std::string path = between(line, "<", ">");
        if (path.starts_with(Appliance::directory)) {
            calls.push_back((name == "writev" ? "write" : name) + " " + path);
        }
    }
    return calls;
}

class Durability : public testing::TestWithParam<Scenario> {};

TEST_P(Durability, ComesFromSyncingTheBytesBeforeTheRenameAndTheNameAfterIt)
{
    const std::string traceFile = "/tmp/trace";
    Appliance appliance;
    arrange(GetParam(), appliance);

    const RunResult run = appliance.run(
        GetParam().arguments(), {.name = "switch-querier",
                                 .prepare = {},
                                 .wrapper = {"strace", "-qq", "-y", "-o", traceFile, "-e",
                                             "trace=write,writev,close,fsync,fdatasync,/^rename"}});

    EXPECT_EQ(run.status, GetParam().status);
    EXPECT_EQ(callsOnFiles(readFile(traceFile)),
              (std::vector<std::string>{
                  "close /appliance/config.json",  // it was read
                  "write /appliance/config.json.filsec",
                  "close /appliance/config.json.filsec",
                  "fsync /appliance/config.json.filsec",
                  "close /appliance/config.json.filsec",
                  "rename /appliance/config.json.filsec /appliance/config.json",
                  "fsync /appliance/config.json",
                  "close /appliance/config.json",
                  "fsync /appliance",
                  "close /appliance",
              }));
    RecordProperty("orders of calls", 1);
}

INSTANTIATE_TEST_SUITE_P(, Durability,
                         testing::Values(scenario("Flip"), scenario("LargeFlip"),
                                         scenario("UpdateBySwitch")),
                         [](const auto& row) { return row.param.name; });

}  // namespace
