// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/faults/Preload.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"

namespace {

const std::string countFile = "/tmp/count";

}  // namespace

RunResult runWithPreload(Appliance& appliance, const Scenario& scenario, const std::string& object,
                         int first, int last)
{
    const auto preload = [&] {
        setenv("LD_PRELOAD", (executableDirectory() + ("/" + object + ".so")).c_str(), 1);
        setenv("FAULT_FIRST", std::to_string(first).c_str(), 1);
        setenv("FAULT_LAST", std::to_string(last).c_str(), 1);
        setenv("FAULT_COUNT_FILE", countFile.c_str(), 1);
    };
    return appliance.run(scenario.arguments(),
                         {.name = "switch-querier", .prepare = preload, .wrapper = {}});
}

int preloadedCallsOf(const Scenario& scenario, const std::string& object)
{
    Appliance appliance;
    arrange(scenario, appliance);
    const RunResult run = runWithPreload(appliance, scenario, object, 0, 0);
    EXPECT_EQ(run.status, scenario.status) << "cannot preload: " << run.err;
    const std::string count = readFile(countFile);
    EXPECT_NE(count, "(missing)") << "the object is not preloaded";
    return static_cast<int>(std::strtol(count.c_str(), nullptr, 10));
}
