// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "log/SyslogSink.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <chrono>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/appliance/SystemLog.h"

namespace {

static_assert(std::has_virtual_destructor_v<SyslogSink>);

class SyslogSinkOutput : public testing::Test {
protected:
    SyslogSinkOutput() { openlog("name", 0, 0); }
    ~SyslogSinkOutput() override { closelog(); }

    void write(const std::string& text, int priority = LOG_ERR)
    {
        sink.write(std::chrono::system_clock::now(), text, priority);
    }

    SystemLog systemLog;
    SyslogSink sink;
};

TEST_F(SyslogSinkOutput, SendsTheTextUnchanged)
{
    struct Row {
        const char* name;
        std::string text;
    };
    const std::vector<Row> rows = {
        {"plain", "text"},
        {"empty", ""},
        {"newline at the end", "text\n"},
        {"newline alone", "\n"},
        {"two newlines at the end", "text\n\n"},
        {"several lines", "one\ntwo\nthree"},
        {"conversions", "100 % %s %d %n %% %m %"},
        {"colons", "a: b: c"},
        {"bytes beyond ASCII", "\xc3\xa4\xff"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);

        write(row.text);
        EXPECT_EQ(systemLog.drain(), (std::vector<LogRecord>{{LOG_ERR, "name", row.text}}));
    }
}

TEST_F(SyslogSinkOutput, UsesThePriorityOfTheRecord)
{
    for (int priority = LOG_EMERG; priority <= LOG_DEBUG; ++priority) {
        SCOPED_TRACE(priority);

        write("text", priority);
        EXPECT_EQ(systemLog.drain(), (std::vector<LogRecord>{{priority, "name", "text"}}));
    }
}

TEST_F(SyslogSinkOutput, SendsEachTextAsASeparateRecord)
{
    write("one");
    write("two", LOG_INFO);

    EXPECT_EQ(systemLog.drain(),
              (std::vector<LogRecord>{{LOG_ERR, "name", "one"}, {LOG_INFO, "name", "two"}}));
}

// syslog(3) takes the text as a C string.
TEST_F(SyslogSinkOutput, EndsTheTextAtANulByte)
{
    write(std::string("one\0two", 7));

    EXPECT_EQ(systemLog.drain(), (std::vector<LogRecord>{{LOG_ERR, "name", "one"}}));
}

TEST_F(SyslogSinkOutput, SendsAgainAfterTheDaemonRestarts)
{
    write("before");
    ASSERT_EQ(systemLog.drain().size(), 1U);
    systemLog.die();
    write("lost");
    SystemLog again;

    write("after");
    EXPECT_EQ(again.drain(), (std::vector<LogRecord>{{LOG_ERR, "name", "after"}}));
}

}  // namespace
