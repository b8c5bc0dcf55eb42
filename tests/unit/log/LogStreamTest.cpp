// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "log/LogStream.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "log/SyslogSink.h"
#include "tests/appliance/SystemLog.h"
#include "tests/unit/effects/Effects.h"

// The streams, on a console of the test's own and on the system log of the C library.
namespace {

static_assert(std::is_base_of_v<std::ostream, ErrorLog> &&
              std::is_base_of_v<std::ostream, InfoLog>);
static_assert(std::is_abstract_v<LogStream> && std::has_virtual_destructor_v<SyslogSink>);
static_assert(!std::is_copy_constructible_v<ErrorLog> && !std::is_copy_constructible_v<InfoLog>);

using namespace std::chrono_literals;
using Records = std::vector<LogRecord>;

constexpr char name[] = "switch-querier";

/// The output on the console at each flush, and the records of the system log, in order: "console
/// TEXT" and "log LEVEL IDENTITY: TEXT".
class Outputs : public std::streambuf {
public:
    std::vector<std::string> all()
    {
        drain();
        if (!text.empty()) {
            events.push_back("never flushed " + text);
        }
        return events;
    }

    SystemLog systemLog;

protected:
    int_type overflow(int_type byte) override
    {
        text += traits_type::to_char_type(byte);
        return traits_type::not_eof(byte);
    }

    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        text.append(bytes, static_cast<std::size_t>(count));
        return count;
    }

    int sync() override
    {
        drain();
        events.push_back("console " + text);
        text.clear();
        return 0;
    }

private:
    void drain()
    {
        for (const LogRecord& record : systemLog.drain()) {
            events.push_back("log " + std::to_string(record.level) + " " + record.identity + ": " +
                             record.text);
        }
    }

    std::vector<std::string> events;
    std::string text;
};

struct Row {
    const char* name;
    std::function<void(std::ostream& errors, InfoLog& infos)> use;
    std::vector<std::string> expected;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

class LogStreamOutput : public testing::TestWithParam<Row> {};

TEST_P(LogStreamOutput, ReachesTheConsoleAndThenTheSystemLog)
{
    Outputs outputs;
    std::ostream console(&outputs);
    {
        ErrorLog errors(name, &console, levelOnly);
        InfoLog infos(name, &console, textOnly);
        EXPECT_TRUE(errors.good() && infos.good());
        GetParam().use(errors, infos);
        EXPECT_TRUE(errors.good() && infos.good());
    }

    EXPECT_EQ(outputs.all(), GetParam().expected);
}

const Row rows[] = {
    {"EndedByANewline",
     [](auto& errors, auto& infos) {
         errors << "Cannot read" << std::endl;
         infos << "Mode set" << std::endl;
     },
     {"console ERROR: Cannot read\n", "log 3 switch-querier: Cannot read\n", "console Mode set\n",
      "log 6 switch-querier: Mode set\n"}},
    {"WithoutANewline",
     [](auto& errors, auto& infos) {
         errors << "Cannot read" << std::flush;
         infos << "Mode set";
         infos.flush();
     },
     {"console ERROR: Cannot read\n", "log 3 switch-querier: Cannot read", "console Mode set\n",
      "log 6 switch-querier: Mode set"}},
    {"SeveralInsertions",
     [](auto& errors, auto&) {
         errors << "code " << 12 << ' ' << -6 << ' ' << 1.5 << ' ' << std::hex << 255 << ' '
                << std::setw(3) << std::setfill('0') << 7 << std::string(" text");
         errors.put('!');
         errors.write("?x", 1) << std::endl;
     },
     {"console ERROR: code 12 -6 1.5 ff 007 text!?\n",
      "log 3 switch-querier: code 12 -6 1.5 ff 007 text!?\n"}},
    {"SeveralLines",
     [](auto& errors, auto&) {
         errors << "one\ntwo\n"
                << "three\n"
                << std::flush;
     },
     {"console ERROR: one\ntwo\nthree\n", "log 3 switch-querier: one\ntwo\nthree\n"}},
    {"Empty",
     [](auto& errors, auto& infos) {
         errors << std::flush;
         infos << "" << std::flush;
     },
     {"log 3 switch-querier: ", "log 6 switch-querier: "}},
    {"EachRecordAfresh",
     [](auto& errors, auto&) {
         errors << "a long first record" << std::endl;
         errors << "second" << std::flush;
     },
     {"console ERROR: a long first record\n", "log 3 switch-querier: a long first record\n",
      "console ERROR: second\n", "log 3 switch-querier: second"}},
    // The record is the whole content of the buffer, whatever the position of the next insertion.
    {"TextAfterTheWritePositionToo",
     [](auto& errors, auto&) {
         errors << "abcdef";
         errors.seekp(2);
         errors << 'X' << std::flush;
     },
     {"console ERROR: abXdef\n", "log 3 switch-querier: abXdef"}},
    {"EachStreamItsOwnText",
     [](auto& errors, auto& infos) {
         errors << "error, ";
         infos << "information";
         errors << "whole" << std::flush;
         infos << std::flush;
     },
     {"console ERROR: error, whole\n", "log 3 switch-querier: error, whole",
      "console information\n", "log 6 switch-querier: information"}},
    {"NothingThatIsNeverFlushed",
     [](auto& errors, auto& infos) {
         errors << "pending\n";
         infos << "pending\n";
     },
     {}},
    {"NoFormat",
     [](auto& errors, auto&) { errors << "100 %s %d %n %% %m" << std::flush; },
     {"console ERROR: 100 %s %d %n %% %m\n", "log 3 switch-querier: 100 %s %d %n %% %m"}},
    // syslog(3) takes the text as a C string.
    {"TheSystemLogUpToANulByte",
     [](auto& errors, auto&) { errors << std::string("one\0two", 7) << std::flush; },
     {std::string("console ERROR: one\0two\n", 23), "log 3 switch-querier: one"}},
    {"TheDestinationsThatAreOn",
     [](auto&, auto& infos) {
         EXPECT_TRUE(infos.consoleOn && infos.syslogOn);
         infos.consoleOn = false;
         infos << "one" << std::flush;
         infos.syslogOn = false;
         infos << "two" << std::flush;
         infos.consoleOn = true;
         infos << "three" << std::flush << std::flush;
         infos.syslogOn = true;
         infos << "four" << std::flush;
     },
     {"log 6 switch-querier: one", "console three\n", "console four\n",
      "log 6 switch-querier: four"}},
};

INSTANTIATE_TEST_SUITE_P(, LogStreamOutput, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

class LogStreams : public testing::Test {
protected:
    std::ostringstream console;
    SystemLog systemLog;
};

TEST_F(LogStreams, ShowTheTimeOfEachFlush)
{
    setenv("TZ", "UTC0", 1);
    tzset();
    Effects effects;
    effects.record([&] {
        ErrorLog log(name, &console, dateAndTime);
        log << "text";
        effects.advance(2s);
        log << std::flush;
        effects.advance(3s);
        log << "later" << std::flush;
    });
    unsetenv("TZ");
    tzset();

    EXPECT_EQ(console.str(),
              "2020-01-16 09:05:05.042 ERROR: text\n2020-01-16 09:05:08.042 ERROR: later\n");
}

TEST_F(LogStreams, HaveTheIdentityOfTheLastOne)
{
    const std::vector<std::pair<const char*, const char*>> identities = {
        {"name", "name"}, {"", "KWsyslog3"}, {" ", " "}, {"\xc3\xa9", "\xc3\xa9"}};
    for (const auto& [identity, expected] : identities) {
        SCOPED_TRACE(testing::PrintToString(identity));
        ErrorLog errors("first", &console, levelOnly);
        InfoLog infos(identity, &console, textOnly);
        errors << "text" << std::flush;
        infos << "text" << std::flush;
        const ErrorLog last(identity, &console, levelOnly);
        infos << "again" << std::flush;

        EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, expected, "text"},
                                              {LOG_INFO, expected, "text"},
                                              {LOG_INFO, expected, "again"}}));
    }
}

TEST_F(LogStreams, ReachTheSystemLogAfterAnotherOneClosedIt)
{
    ErrorLog errors(name, &console, levelOnly);
    {
        InfoLog infos(name, &console, textOnly);
        infos << "one" << std::flush;
    }
    errors << "two" << std::flush;

    const Records records = systemLog.drain();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[1].level, LOG_ERR);
    EXPECT_EQ(records[1].text, "two");
}

/// Returns a record as it is sent, without its time, the length of which is fixed (RFC
/// 3164, 4.1.2).
std::string sentBy(const std::function<void()>& action)
{
    SystemLog systemLog;
    action();
    const std::string datagram = systemLog.drainRaw().at(0);
    const std::size_t end = datagram.find('>') + 1;
    constexpr std::size_t timeLength = sizeof "Nov 21 16:00:00 " - 1;
    return datagram.substr(0, end) + datagram.substr(end + timeLength);
}

// Nothing is left out or cut but by the C library, and its defaults stay: no option, no facility.
TEST_F(LogStreams, SendWhatTheCLibrarySendsOfTheTextAndShowItWhole)
{
    for (const std::string& text : {std::string("text\n"), std::string(20'000, 'x') + "\n"}) {
        const auto sentByTheLibrary = [&](int priority) {
            return sentBy([&] {
                openlog(name, 0, 0);
                syslog(priority, "%s", text.c_str());
                closelog();
            });
        };

        EXPECT_EQ(sentBy([&] { ErrorLog(name, &console, levelOnly) << text << std::flush; }),
                  sentByTheLibrary(LOG_ERR));
        EXPECT_EQ(sentBy([&] { InfoLog(name, &console, levelOnly) << text << std::flush; }),
                  sentByTheLibrary(LOG_INFO));
        EXPECT_EQ(console.str(), "ERROR: " + text + "INFO: " + text);
        console.str("");
    }
}

TEST_F(LogStreams, ReachTheSystemLogWhenTheConsoleFails)
{
    std::ostream broken(nullptr);
    console.setstate(std::ios::failbit);
    for (std::ostream* const failing :
         {&broken, static_cast<std::ostream*>(&console), static_cast<std::ostream*>(nullptr)}) {
        ErrorLog errors(name, failing, levelOnly);
        InfoLog infos(name, failing, textOnly);

        errors << "one" << std::endl;
        infos << "two" << std::endl;
        EXPECT_EQ(systemLog.drain(),
                  (Records{{LOG_ERR, name, "one\n"}, {LOG_INFO, name, "two\n"}}));
        EXPECT_TRUE(errors.good() && infos.good());
    }
    EXPECT_TRUE(broken.bad());
    EXPECT_EQ(console.str(), "");
}

TEST_F(LogStreams, ReportSuccessOfASyncEvenInAFailedState)
{
    ErrorLog log(name, &console, levelOnly);
    log << "text";
    log.setstate(std::ios::badbit);

    EXPECT_EQ(log.rdbuf()->pubsync(), 0);
    EXPECT_EQ(console.str(), "ERROR: text\n");
}

// The record is taken off the buffer when both destinations have had it.
TEST_F(LogStreams, KeepTheRecordIfTheConsoleThrows)
{
    std::stringbuf refusing(std::ios::in);
    std::ostream throwing(&refusing);
    throwing.exceptions(std::ios::badbit);
    ErrorLog log(name, &throwing, levelOnly);
    log << "text";
    EXPECT_THROW(static_cast<void>(log.rdbuf()->pubsync()), std::ios::failure);
    EXPECT_EQ(systemLog.drain(), Records{});

    throwing.rdbuf(console.rdbuf());
    EXPECT_EQ(log.rdbuf()->pubsync(), 0);
    EXPECT_EQ(console.str(), "ERROR: text\n");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, name, "text"}}));
}

TEST_F(LogStreams, HandThePriorityOn)
{
    SyslogSink sink;
    openlog(name, 0, 0);
    for (int priority = LOG_EMERG; priority <= LOG_DEBUG; ++priority) {
        sink.write({}, "text", priority);
        EXPECT_EQ(systemLog.drain(), (Records{{priority, name, "text"}}));
    }
    closelog();
}

}  // namespace
