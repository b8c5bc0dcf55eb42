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

namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using std::chrono::system_clock;

static_assert(std::has_virtual_destructor_v<ConsoleSink>);
static_assert(textOnly == 0 && levelOnly == 1 && dayAndTime == 2 && dateAndTime == 3);

/// Returns a point in Coordinated Universal Time.
system_clock::time_point at(std::chrono::year_month_day day, nanoseconds timeOfDay)
{
    return std::chrono::sys_days(day) + timeOfDay;
}

const std::chrono::year_month_day january16(std::chrono::year(2020), std::chrono::January,
                                            std::chrono::day(16));
const system_clock::time_point someTime = at(january16, 9h + 5min + 3s + 42ms);

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
        ConsoleSink sink(&console, format);
        sink.write(time, text, level);
        return console.str();
    }
};

/// Records the insertions and counts the flushes that reach it.
class CountingBuffer : public std::streambuf {
public:
    std::vector<std::string> pieces;
    std::string singleBytes;
    int flushes = 0;

protected:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        pieces.emplace_back(bytes, static_cast<std::size_t>(count));
        return count;
    }
    int_type overflow(int_type byte) override
    {
        singleBytes += traits_type::to_char_type(byte);
        return byte;
    }
    int sync() override
    {
        ++flushes;
        return 0;
    }
};

/// Refuses every byte, as std::streambuf itself does, and every flush.
class RefusingBuffer : public std::streambuf {
protected:
    int sync() override { return -1; }
};

TEST_F(ConsoleSinkOutput, WritesALineInTheFormat)
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

TEST_F(ConsoleSinkOutput, NamesTheLevelOfTheRecord)
{
    EXPECT_EQ(shown(levelOnly, "text", LOG_INFO), "INFO: text\n");
    EXPECT_EQ(shown(levelOnly, "text", LOG_CRIT), "CRITICAL: text\n");
    EXPECT_EQ(shown(levelOnly, "text", LOG_USER | LOG_DEBUG), "DEBUG: text\n");
    EXPECT_EQ(shown(dayAndTime, "text", LOG_INFO), "16-09:05:03.042 INFO: text\n");
    EXPECT_EQ(shown(dateAndTime, "text", LOG_EMERG), "2020-01-16 09:05:03.042 EMERG: text\n");
}

// The padding of the year cannot be tested: the clock, in nanoseconds, ranges from 1677 to 2262.
TEST_F(ConsoleSinkOutput, PadsEachFieldOfTheTime)
{
    const std::chrono::year_month_day march1(std::chrono::year(1999), std::chrono::March,
                                             std::chrono::day(1));
    const std::chrono::year_month_day december31(std::chrono::year(2199), std::chrono::December,
                                                 std::chrono::day(31));
    struct Row {
        system_clock::time_point time;
        const char* expectedFormat2;
        const char* expectedFormat3;
    };
    const std::vector<Row> rows = {
        {at(march1, 1h + 2min + 3s + 4ms), "01-01:02:03.004 ", "1999-03-01 01:02:03.004 "},
        {at(march1, 0s), "01-00:00:00.000 ", "1999-03-01 00:00:00.000 "},
        {at(december31, 23h + 59min + 58s + 987ms), "31-23:59:58.987 ", "2199-12-31 23:59:58.987 "},
        {system_clock::time_point(), "01-00:00:00.000 ", "1970-01-01 00:00:00.000 "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.expectedFormat3);
        EXPECT_EQ(shown(dayAndTime, "text", LOG_ERR, row.time),
                  row.expectedFormat2 + std::string("ERROR: text\n"));
        EXPECT_EQ(shown(dateAndTime, "text", LOG_ERR, row.time),
                  row.expectedFormat3 + std::string("ERROR: text\n"));
    }
}

TEST_F(ConsoleSinkOutput, CutsTheTimeToMilliseconds)
{
    struct Row {
        nanoseconds sinceMidnight;
        const char* expected;
    };
    const std::vector<Row> rows = {
        {0ns, "16-00:00:00.000 ERROR: text\n"},
        {7ms, "16-00:00:00.007 ERROR: text\n"},
        {7ms + 999us + 999ns, "16-00:00:00.007 ERROR: text\n"},
        {70ms, "16-00:00:00.070 ERROR: text\n"},
        {700ms, "16-00:00:00.700 ERROR: text\n"},
        {999us, "16-00:00:00.000 ERROR: text\n"},
        {1s - 1ns, "16-00:00:00.999 ERROR: text\n"},
        {1s, "16-00:00:01.000 ERROR: text\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sinceMidnight.count());
        EXPECT_EQ(shown(dayAndTime, "text", LOG_ERR, at(january16, row.sinceMidnight)),
                  row.expected);
    }
}

TEST_F(ConsoleSinkOutput, ShowsLocalTime)
{
    struct Row {
        const char* zone;
        const char* expected;
    };
    const std::vector<Row> rows = {
        {"EAST-5:30", "2020-01-16 14:35:03.042 ERROR: text\n"},
        {"WEST10", "2020-01-15 23:05:03.042 ERROR: text\n"},
        {"FAR-15", "2020-01-17 00:05:03.042 ERROR: text\n"},
        {"STD-1DST,M1.1.0,M11.1.0", "2020-01-16 11:05:03.042 ERROR: text\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.zone);
        setTimeZone(row.zone);
        EXPECT_EQ(shown(dateAndTime, "text"), row.expected);
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
        {"several lines, the last ended", "one\ntwo\n", "ERROR: one\ntwo\n"},
        {"a newline first", "\ntext", "ERROR: \ntext\n"},
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

TEST_F(ConsoleSinkOutput, WritesARecordAfterTheOther)
{
    std::ostringstream console;
    ConsoleSink sink(&console, levelOnly);

    sink.write(someTime, "one\n", LOG_ERR);
    sink.write(someTime, "", LOG_ERR);
    sink.write(someTime, "two", LOG_INFO);
    EXPECT_EQ(console.str(), "ERROR: one\nINFO: two\n");
}

TEST_F(ConsoleSinkOutput, WritesALineInOneInsertionAndFlushesIt)
{
    for (const std::int32_t format : {textOnly, levelOnly, dayAndTime, dateAndTime}) {
        SCOPED_TRACE(format);
        CountingBuffer buffer;
        std::ostream console(&buffer);
        ConsoleSink sink(&console, format);

        sink.write(someTime, "text\n", LOG_ERR);
        EXPECT_EQ(buffer.pieces, std::vector<std::string>{shown(format, "text\n")});
        EXPECT_EQ(buffer.singleBytes, "");
        EXPECT_EQ(buffer.flushes, 1);
    }
}

TEST_F(ConsoleSinkOutput, AddsTheNewlineAndFlushesOnce)
{
    CountingBuffer buffer;
    std::ostream console(&buffer);
    ConsoleSink sink(&console, levelOnly);

    sink.write(someTime, "text", LOG_ERR);
    EXPECT_EQ(buffer.pieces, std::vector<std::string>{"ERROR: text"});
    EXPECT_EQ(buffer.singleBytes, "\n");
    EXPECT_EQ(buffer.flushes, 1);
}

TEST_F(ConsoleSinkOutput, LeavesTheConsoleAloneForAnEmptyText)
{
    for (const std::int32_t format : {textOnly, levelOnly, dayAndTime, dateAndTime}) {
        SCOPED_TRACE(format);
        CountingBuffer buffer;
        std::ostream console(&buffer);
        ConsoleSink sink(&console, format);

        sink.write(someTime, "", LOG_ERR);
        EXPECT_EQ(buffer.pieces, std::vector<std::string>{});
        EXPECT_EQ(buffer.singleBytes, "");
        EXPECT_EQ(buffer.flushes, 0);
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

TEST_F(ConsoleSinkOutput, WritesNowhereWithoutAConsole)
{
    CountingBuffer buffer;
    std::streambuf* const out = std::cout.rdbuf(&buffer);
    std::streambuf* const err = std::cerr.rdbuf(&buffer);
    ConsoleSink sink(nullptr, levelOnly);

    sink.write(someTime, "text", LOG_ERR);
    sink.write(someTime, "text\n", LOG_INFO);
    sink.write(someTime, "", LOG_ERR);
    std::cout.rdbuf(out);
    std::cerr.rdbuf(err);
    EXPECT_EQ(buffer.pieces, std::vector<std::string>{});
    EXPECT_EQ(buffer.singleBytes, "");
    EXPECT_EQ(buffer.flushes, 0);
}

TEST_F(ConsoleSinkOutput, LeavesAFailureInTheStateOfTheConsole)
{
    for (const char* const text : {"text", "text\n"}) {
        SCOPED_TRACE(testing::PrintToString(text));
        RefusingBuffer buffer;
        std::ostream console(&buffer);
        ConsoleSink sink(&console, levelOnly);

        sink.write(someTime, text, LOG_ERR);
        EXPECT_TRUE(console.bad());
    }
}

TEST_F(ConsoleSinkOutput, WritesNothingToAConsoleThatHasFailed)
{
    for (const std::ios::iostate state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
        SCOPED_TRACE(state);
        CountingBuffer buffer;
        std::ostream console(&buffer);
        console.setstate(state);
        ConsoleSink sink(&console, levelOnly);

        sink.write(someTime, "text", LOG_ERR);
        EXPECT_EQ(buffer.pieces, std::vector<std::string>{});
        EXPECT_EQ(buffer.singleBytes, "");
        EXPECT_EQ(console.rdstate() & state, state);
    }
}

}  // namespace
