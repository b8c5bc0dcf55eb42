// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "log/ConsoleSink.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <limits>
#include <locale>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/appliance/CommaLocale.h"
#include "tests/appliance/RecordingBuffer.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using std::chrono::sys_days;
using std::chrono::system_clock;

static_assert(std::has_virtual_destructor_v<ConsoleSink>);
static_assert(textOnly == 0 && levelOnly == 1 && dayAndTime == 2 && dateAndTime == 3);

const system_clock::time_point january16 = sys_days(2020y / std::chrono::January / 16);
const system_clock::time_point someTime = january16 + 9h + 5min + 3s + 42ms;

using Events = std::vector<std::string>;

class ConsoleSinkOutput : public testing::Test {
protected:
    ConsoleSinkOutput() { setTimeZone("UTC0"); }
    ~ConsoleSinkOutput() override
    {
        unsetenv("TZ");
        tzset();
    }

    /// Sets a POSIX time zone, which needs no database; "X-5:30" is ahead of UTC.
    static void setTimeZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }

    /// Returns the output of one record.
    static std::string shown(std::int32_t format, const std::string& text, int level = LOG_ERR,
                             system_clock::time_point time = someTime)
    {
        std::ostringstream console;
        ConsoleSink(&console, format).write(time, text, level);
        return console.str();
    }

    static Events eventsOf(std::int32_t format, const std::string& text)
    {
        RecordingBuffer recorder;
        std::ostream console(&recorder);
        ConsoleSink(&console, format).write(someTime, text, LOG_ERR);
        return recorder.events;
    }
};

TEST_F(ConsoleSinkOutput, IsALineInTheFormat)
{
    struct Row {
        std::int32_t format;
        const char* expected;
    };
    const std::vector<Row> rows = {
        {0, "text\n"},
        {1, "ERROR: text\n"},
        {2, "16-09:05:03.042 ERROR: text\n"},
        {3, "2020-01-16 09:05:03.042 ERROR: text\n"},
        {4, "text\n"},
        {-1, "text\n"},
        {std::numeric_limits<std::int32_t>::max(), "text\n"},
        {std::numeric_limits<std::int32_t>::min(), "text\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.format);
        EXPECT_EQ(shown(row.format, "text"), row.expected);
    }
}

TEST_F(ConsoleSinkOutput, NamesTheLevelByTheLowestThreeBits)
{
    struct Row {
        int priority;
        const char* name;
    };
    constexpr Row rows[] = {{LOG_EMERG, "EMERG"}, {LOG_ALERT, "ALERT"},     {LOG_CRIT, "CRITICAL"},
                            {LOG_ERR, "ERROR"},   {LOG_WARNING, "WARNING"}, {LOG_NOTICE, "NOTICE"},
                            {LOG_INFO, "INFO"},   {LOG_DEBUG, "DEBUG"}};
    constexpr int none = std::numeric_limits<int>::min();
    for (const Row& row : rows) {
        for (const int others : {0, 8, int{LOG_LOCAL7}, none}) {
            SCOPED_TRACE(row.priority | others);
            EXPECT_EQ(shown(levelOnly, "text", row.priority | others),
                      row.name + std::string(": text\n"));
        }
    }
}

// The padding of the year cannot be tested: a clock in nanoseconds ranges from 1677 to 2262.
TEST_F(ConsoleSinkOutput, HasTheLocalTimePaddedAndCutToMilliseconds)
{
    struct Row {
        const char* zone;
        std::chrono::sys_time<nanoseconds> time;
        const char* date;
        const char* timeOfDay;
    };
    const sys_days march1 = 1999y / std::chrono::March / 1;
    const sys_days december31 = 2199y / std::chrono::December / 31;
    const std::vector<Row> rows = {
        {"UTC0", march1 + 1h + 2min + 3s + 4ms, "1999-03-01", "01:02:03.004"},
        {"UTC0", december31 + 23h + 59min + 58s + 987ms, "2199-12-31", "23:59:58.987"},
        {"UTC0", sys_days(), "1970-01-01", "00:00:00.000"},
        {"UTC0", january16 + 7ms + 999us + 999ns, "2020-01-16", "00:00:00.007"},
        {"UTC0", january16 + 70ms, "2020-01-16", "00:00:00.070"},
        {"UTC0", january16 + 999us, "2020-01-16", "00:00:00.000"},
        {"UTC0", january16 + 1s - 1ns, "2020-01-16", "00:00:00.999"},
        {"UTC0", january16 + 1s, "2020-01-16", "00:00:01.000"},
        {"EAST-5:30", someTime, "2020-01-16", "14:35:03.042"},
        {"WEST10", someTime, "2020-01-15", "23:05:03.042"},
        {"FAR-15", someTime, "2020-01-17", "00:05:03.042"},
        {"STD-1DST,M1.1.0,M11.1.0", someTime, "2020-01-16", "11:05:03.042"},
    };
    for (const Row& row : rows) {
        const std::string date = row.date;
        const std::string rest = row.timeOfDay + std::string(" ERROR: text\n");
        SCOPED_TRACE(row.zone + (" " + date) + " " + rest);
        setTimeZone(row.zone);
        // The clock may count microseconds.
        const auto time = std::chrono::floor<system_clock::duration>(row.time);
        EXPECT_EQ(shown(dayAndTime, "text", LOG_ERR, time), date.substr(8) + "-" + rest);
        EXPECT_EQ(shown(dateAndTime, "text", LOG_ERR, time), date + " " + rest);
    }
}

TEST_F(ConsoleSinkOutput, EndsTheLineOnce)
{
    struct Row {
        const char* name;
        std::string text;
        std::string expected;
    };
    const std::vector<Row> rows = {
        {"without a newline", "text", "ERROR: text\n"},
        {"with a newline", "text\n", "ERROR: text\n"},
        {"two newlines", "text\n\n", "ERROR: text\n\n"},
        {"a newline alone", "\n", "ERROR: \n"},
        {"several lines", "one\ntwo\nthree", "ERROR: one\ntwo\nthree\n"},
        {"a carriage return last", "text\r", "ERROR: text\r\n"},
        {"a byte below the newline last", "text\t", "ERROR: text\t\n"},
        {"a byte above 127 last", "text\xff", "ERROR: text\xff\n"},
        {"a NUL byte", std::string("a\0b", 3), std::string("ERROR: a\0b\n", 11)},
        {"a percent sign", "100 %s\n", "ERROR: 100 %s\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(shown(levelOnly, row.text), row.expected);
    }
}

TEST_F(ConsoleSinkOutput, LeavesTheFormattingOfTheConsole)
{
    for (const std::int32_t format : {textOnly, levelOnly, dayAndTime, dateAndTime}) {
        SCOPED_TRACE(format);
        std::ostringstream console;
        const std::ostringstream untouched;
        ConsoleSink sink(&console, format);

        sink.write(someTime, "text", LOG_ERR);
        EXPECT_EQ(console.fill(), untouched.fill());
        EXPECT_EQ(console.width(), untouched.width());
        EXPECT_EQ(console.flags(), untouched.flags());
        EXPECT_EQ(console.precision(), untouched.precision());
        EXPECT_EQ(console.exceptions(), untouched.exceptions());
    }
}

// Neither that of the console nor that of the user groups the digits of a year.
TEST_F(ConsoleSinkOutput, WritesTheTimeInNoLocale)
{
    class Thousands : public std::numpunct<char> {
        std::string do_grouping() const override { return "\3"; }
        char do_thousands_sep() const override { return '.'; }
    };
    makeCommaLocale();
    setenv("LOCPATH", commaLocalePath, 1);
    setenv("LC_ALL", commaLocale, 1);
    std::ostringstream console;
    console.imbue(std::locale(std::locale::classic(), new Thousands));
    ConsoleSink sink(&console, dateAndTime);
    sink.write(someTime, "text", LOG_ERR);
    unsetenv("LC_ALL");
    unsetenv("LOCPATH");

    EXPECT_EQ(console.str(), "2020-01-16 09:05:03.042 ERROR: text\n");
}

TEST_F(ConsoleSinkOutput, IsOneInsertionAndTheMissingNewlineAndAFlush)
{
    for (const std::int32_t format : {textOnly, levelOnly, dayAndTime, dateAndTime}) {
        SCOPED_TRACE(format);
        const std::string line = shown(format, "text");
        const std::string unended = line.substr(0, line.size() - 1);
        EXPECT_EQ(eventsOf(format, "text\n"), (Events{line, "(flush)"}));
        EXPECT_EQ(eventsOf(format, "text"), (Events{unended, "\n", "(flush)"}));
        EXPECT_EQ(eventsOf(format, ""), Events{});
    }
}

TEST_F(ConsoleSinkOutput, WidensTheNewlineThroughTheLocaleOfTheConsole)
{
    class TildeForNewline : public std::ctype<char> {
        char do_widen(char byte) const override { return byte == '\n' ? '~' : byte; }
    };
    std::ostringstream console;
    console.imbue(std::locale(console.getloc(), new TildeForNewline));
    ConsoleSink sink(&console, textOnly);

    sink.write(someTime, "added", LOG_ERR);
    sink.write(someTime, "own\n", LOG_ERR);
    EXPECT_EQ(console.str(), "added~own\n");
}

TEST_F(ConsoleSinkOutput, GoesNowhereWithoutAConsole)
{
    RecordingBuffer recorder;
    std::streambuf* const out = std::cout.rdbuf(&recorder);
    std::streambuf* const err = std::cerr.rdbuf(&recorder);
    ConsoleSink(nullptr, levelOnly).write(someTime, "text", LOG_ERR);
    std::cout.rdbuf(out);
    std::cerr.rdbuf(err);

    EXPECT_EQ(recorder.events, Events{});
}

TEST_F(ConsoleSinkOutput, FailsInTheStateOfTheConsoleAndNoMoreAfterThat)
{
    std::stringbuf refusing(std::ios::in);
    std::ostream console(&refusing);
    ConsoleSink sink(&console, levelOnly);
    sink.write(someTime, "text", LOG_ERR);
    EXPECT_TRUE(console.bad());

    RecordingBuffer recorder;
    console.rdbuf(&recorder);
    for (const std::ios::iostate state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
        SCOPED_TRACE(state);
        console.clear(state);
        sink.write(someTime, "text", LOG_ERR);
        std::erase(recorder.events, "(flush)");  // which libraries differ in
        EXPECT_EQ(recorder.events, Events{});
        EXPECT_EQ(console.rdstate() & state, state);
    }
}

}  // namespace
