// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <syslog.h>

#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"

// The program's own name, in the banner and in the system log.
namespace {

struct Row {
    std::string label;
    std::string path;
    std::string inBanner;
    std::string inSystemLog;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.label;
}

class ProgramName : public testing::TestWithParam<Row> {};

TEST_P(ProgramName, IsTheLastComponentOfItsPath)
{
    Appliance appliance;
    const RunOptions options{.name = GetParam().path, .prepare = {}, .wrapper = {}};

    const RunResult usage = appliance.run({}, options);
    const RunResult query = appliance.run({"-query"}, options);

    EXPECT_EQ(usage.out, expected::usage(GetParam().inBanner));
    EXPECT_EQ(query.log, (std::vector<LogRecord>{{LOG_ERR, GetParam().inSystemLog,
                                                  expected::cannotInitSwitch() + "\n"}}));
}

INSTANTIATE_TEST_SUITE_P(, ProgramName,
                         testing::ValuesIn(std::vector<Row>{
                             {"Plain", "querier", "querier", "querier"},
                             {"Absolute", "/usr/sbin/querier", "querier", "querier"},
                             {"Backslash", "a/b\\c", "c", "c"},
                             {"SlashAfterBackslash", "a\\b/c", "c", "c"},
                             {"EndsInASlash", "usr/", "", "KWsyslog3"},
                             {"EndsInABackslash", "usr\\", "", "KWsyslog3"},
                             {"Empty", "", "", "KWsyslog3"},
                         }),
                         [](const auto& row) { return row.param.label; });

}  // namespace
