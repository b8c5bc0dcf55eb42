// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/faults/Trace.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "tests/appliance/Files.h"

std::vector<SystemCall> systemCallsOf(const Scenario& scenario)
{
    const std::string file = "/tmp/trace";
    Appliance appliance;
    arrange(scenario, appliance);
    const RunResult run = appliance.run(scenario.arguments(),
                                        {.name = "switch-querier",
                                         .prepare = {},
                                         .wrapper = {"strace", "-qq", "-s", "200", "-o", file}});
    EXPECT_EQ(run.status, scenario.status) << "cannot trace: " << run.err;

    std::vector<SystemCall> calls;
    std::map<std::string, int> counts;
    std::istringstream lines(readFile(file));
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

RunResult runWithFault(Appliance& appliance, const Scenario& scenario, const std::string& name,
                       const std::string& fault)
{
    return appliance.run(scenario.arguments(),
                         {.name = "switch-querier",
                          .prepare = {},
                          .wrapper = {"strace", "-qq", "-o", "/dev/null", "-e", "trace=" + name,
                                      "-e", "inject=" + name + ":" + fault}});
}
