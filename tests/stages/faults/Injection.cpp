// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/faults/Injection.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <sstream>

#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"

namespace {

const std::string countFile = "/tmp/count";
const std::string traceFile = "/tmp/trace";

void runWithoutFault(const Scenario& scenario, const RunOptions& options)
{
    Appliance appliance;
    arrange(scenario, appliance);
    const RunResult run = appliance.run(scenario.arguments(), options);
    EXPECT_EQ(run.status, scenario.status()) << "cannot be run: " << run.err;
}

}  // namespace

std::vector<SystemCall> systemCallsOf(const Scenario& scenario)
{
    runWithoutFault(scenario, {.wrapper = {"strace", "-qq", "-s", "200", "-o", traceFile}});

    std::vector<SystemCall> calls;
    std::map<std::string, int> counts;
    std::istringstream lines(readFile(traceFile));
    bool ours = false;
    for (std::string line; std::getline(lines, line);) {
        const std::string name = line.substr(0, line.find('('));
        // The first thing that main does.
        ours = ours || line.starts_with("fcntl(0, F_GETFD)");
        calls.push_back({name, ++counts[name], line, ours});
    }
    EXPECT_TRUE(ours) << "main is not seen to begin";
    return calls;
}

RunOptions withFault(const std::string& name, const std::string& fault)
{
    return {.wrapper = {"strace", "-qq", "-o", "/dev/null", "-e", "trace=" + name, "-e",
                        "inject=" + name + ":" + fault}};
}

RunOptions withFailing(const std::string& kind, int first, int last)
{
    return {.prepare = [=] {
        setenv("LD_PRELOAD", (executableDirectory() + std::string("/preload.so")).c_str(), 1);
        setenv("FAULT_KIND", kind.c_str(), 1);
        setenv("FAULT_FIRST", std::to_string(first).c_str(), 1);
        setenv("FAULT_LAST", std::to_string(last).c_str(), 1);
        setenv("FAULT_COUNT_FILE", countFile.c_str(), 1);
    }};
}

int callsOf(const Scenario& scenario, const std::string& kind)
{
    runWithoutFault(scenario, withFailing(kind, 0, 0));

    const std::string count = readFile(countFile);
    EXPECT_NE(count, "(missing)") << "the object is not preloaded";
    return static_cast<int>(std::strtol(count.c_str(), nullptr, 10));
}
