// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/stages/faults/Promise.h"
#include "tests/stages/faults/RunKind.h"

namespace fs = std::filesystem;

namespace {

const std::string logPath = "/dev/log";

struct Spoilt {
    std::string name;
    std::function<void(Appliance&)> spoil;
};

const std::vector<Spoilt> spoiltLogs = {
    {"missing", [](Appliance&) { fs::remove(logPath); }},
    {"dead", [](Appliance& appliance) { appliance.systemLog.die(); }},
    {"a plain file",
     [](Appliance&) {
         fs::remove(logPath);
         writeFile(logPath, "plain");
     }},
    {"a folder",
     [](Appliance&) {
         fs::remove(logPath);
         fs::create_directory(logPath);
     }},
};

class UnusableSystemLog : public testing::TestWithParam<RunKind> {};

TEST_P(UnusableSystemLog, ChangesNothingElse)
{
    const RunKind& kind = GetParam();
    for (const Spoilt& log : spoiltLogs) {
        SCOPED_TRACE(log.name);
        Appliance appliance;
        arrange(kind, appliance);
        log.spoil(appliance);
        const Tree before = treeNow();

        const RunResult run = appliance.run(kind.arguments);

        EXPECT_EQ(run.status, kind.status);
        EXPECT_TRUE(keepsPromise(kind, run, before, {.log = true}));
        EXPECT_EQ(run.log, std::vector<LogRecord>{});
        if (fs::is_regular_file(logPath)) {
            EXPECT_EQ(readFile(logPath), "plain");
        }
    }
    RecordProperty("logs", static_cast<int>(spoiltLogs.size()));
}

INSTANTIATE_TEST_SUITE_P(, UnusableSystemLog, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
