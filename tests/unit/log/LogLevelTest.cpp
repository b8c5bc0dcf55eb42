// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "log/LogLevel.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <limits>
#include <vector>

namespace {

struct Row {
    int priority;
    const char* expected;
};

TEST(LogLevel, NamesEachPriority)
{
    const std::vector<Row> rows = {{LOG_EMERG, "EMERG"},     {LOG_ALERT, "ALERT"},
                                   {LOG_CRIT, "CRITICAL"},   {LOG_ERR, "ERROR"},
                                   {LOG_WARNING, "WARNING"}, {LOG_NOTICE, "NOTICE"},
                                   {LOG_INFO, "INFO"},       {LOG_DEBUG, "DEBUG"}};
    for (int priority = 0; priority < 8; ++priority) {
        SCOPED_TRACE(priority);
        const Row& row = rows[static_cast<std::size_t>(priority)];
        ASSERT_EQ(row.priority, priority);

        EXPECT_STREQ(levelName(priority), row.expected);
    }
}

TEST(LogLevel, LooksAtTheLowestThreeBitsOnly)
{
    const std::vector<Row> rows = {{8, "EMERG"},
                                   {15, "DEBUG"},
                                   {LOG_USER | LOG_ERR, "ERROR"},
                                   {LOG_LOCAL7 | LOG_INFO, "INFO"},
                                   {-1, "DEBUG"},
                                   {-8, "EMERG"},
                                   {std::numeric_limits<int>::max(), "DEBUG"},
                                   {std::numeric_limits<int>::min(), "EMERG"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.priority);

        EXPECT_STREQ(levelName(row.priority), row.expected);
    }
}

}  // namespace
