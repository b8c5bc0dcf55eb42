// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "log/LogLevel.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <limits>

namespace {

TEST(LogLevel, IsNamedByTheLowestThreeBits)
{
    struct Row {
        int priority;
        const char* expected;
    };
    constexpr Row rows[] = {{LOG_EMERG, "EMERG"}, {LOG_ALERT, "ALERT"},     {LOG_CRIT, "CRITICAL"},
                            {LOG_ERR, "ERROR"},   {LOG_WARNING, "WARNING"}, {LOG_NOTICE, "NOTICE"},
                            {LOG_INFO, "INFO"},   {LOG_DEBUG, "DEBUG"}};
    constexpr int none = std::numeric_limits<int>::min();
    for (const Row& row : rows) {
        for (const int others : {0, 8, int{LOG_LOCAL7}, none}) {
            SCOPED_TRACE(row.priority | others);
            EXPECT_STREQ(levelName(row.priority | others), row.expected);
        }
    }
}

}  // namespace
