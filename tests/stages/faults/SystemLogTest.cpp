// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/stages/faults/Guarantee.h"
#include "tests/stages/faults/Scenario.h"

namespace fs = std::filesystem;

namespace {

const std::string logPath = "/dev/log";

struct Unusable {
    std::string name;
    std::function<void(Appliance&)> breakLog;
};

const std::vector<Unusable> unusableLogs = {
    {"missing", [](Appliance&) { fs::remove(logPath); }},
    {"dead", [](Appliance& appliance) { appliance.systemLog.die(); }},
    {"a plain file",
     [](Appliance&) {
         fs::remove(logPath);
         writeFile(logPath, "plain");
     }},
    {"a directory",
     [](Appliance&) {
         fs::remove(logPath);
         fs::create_directory(logPath);
     }},
};

class UnusableSystemLog : public testing::TestWithParam<Scenario> {};

TEST_P(UnusableSystemLog, ChangesNothingElse)
{
    const Scenario& scenario = GetParam();
    for (const Unusable& log : unusableLogs) {
        SCOPED_TRACE(log.name);
        Appliance appliance;
        arrange(scenario, appliance);
        log.breakLog(appliance);
        const Tree before = currentTree();

        const RunResult run = appliance.run(scenario.arguments());

        EXPECT_EQ(run.status, scenario.status);
        EXPECT_TRUE(holdsGuarantee(scenario, run, before, {.log = true}));
        EXPECT_EQ(run.log, std::vector<LogRecord>{});
        if (fs::is_regular_file(logPath)) {
            EXPECT_EQ(readFile(logPath), "plain");
        }
    }
    RecordProperty("logs", static_cast<int>(unusableLogs.size()));
}

INSTANTIATE_TEST_SUITE_P(, UnusableSystemLog, testing::ValuesIn(scenarios()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
