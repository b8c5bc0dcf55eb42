// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "log/LogStream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/appliance/SystemLog.h"

namespace fs = std::filesystem;

namespace {

using Records = std::vector<LogRecord>;
using std::chrono::milliseconds;
using std::chrono::system_clock;

static_assert(std::is_base_of_v<std::ostream, ErrorLog> &&
              std::is_base_of_v<std::ostream, InfoLog>);
static_assert(std::is_abstract_v<LogStream>);
static_assert(!std::is_copy_constructible_v<ErrorLog> && !std::is_copy_constructible_v<InfoLog>);

constexpr char name[] = "switch-querier";

class LogStreamOutput : public testing::Test {
protected:
    /// Returns and clears the output on the console.
    std::string shown()
    {
        std::string text = console.str();
        console.str("");
        return text;
    }

    std::ostringstream console;
    SystemLog systemLog;
};

/// Returns the number of open sockets of this process.
std::size_t socketCount()
{
    std::size_t count = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code none;
        if (fs::read_symlink(entry.path(), none).string().starts_with("socket:")) {
            ++count;
        }
    }
    return count;
}

/// A way to end a record.
struct Flush {
    const char* name;
    std::function<void(std::ostream& stream)> apply;
    const char* expectedEnd;
};

const std::vector<Flush> flushes = {
    {"std::endl", [](std::ostream& stream) { stream << std::endl; }, "\n"},
    {"std::flush", [](std::ostream& stream) { stream << std::flush; }, ""},
    {"flush()", [](std::ostream& stream) { stream.flush(); }, ""},
};

TEST_F(LogStreamOutput, SendsAnErrorToTheConsoleAndTheSystemLog)
{
    ErrorLog log(name, &console, levelOnly);
    for (const Flush& flush : flushes) {
        SCOPED_TRACE(flush.name);

        log << "Cannot read";
        flush.apply(log);
        EXPECT_EQ(shown(), "ERROR: Cannot read\n");
        EXPECT_EQ(systemLog.drain(),
                  (Records{{LOG_ERR, name, std::string("Cannot read") + flush.expectedEnd}}));
    }
}

TEST_F(LogStreamOutput, SendsInformationToTheConsoleAndTheSystemLog)
{
    InfoLog log(name, &console, textOnly);
    for (const Flush& flush : flushes) {
        SCOPED_TRACE(flush.name);

        log << "Mode set";
        flush.apply(log);
        EXPECT_EQ(shown(), "Mode set\n");
        EXPECT_EQ(systemLog.drain(),
                  (Records{{LOG_INFO, name, std::string("Mode set") + flush.expectedEnd}}));
    }
}

TEST_F(LogStreamOutput, ShowsTheLevelOnlyInAFormatThatHasIt)
{
    ErrorLog errors(name, &console, textOnly);
    InfoLog infos(name, &console, levelOnly);

    errors << "one" << std::endl;
    infos << "two" << std::endl;
    EXPECT_EQ(shown(), "one\nINFO: two\n");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, name, "one\n"}, {LOG_INFO, name, "two\n"}}));
}

TEST_F(LogStreamOutput, SendsARecordToTheDestinationsThatAreOn)
{
    for (const bool consoleOn : {false, true}) {
        for (const bool syslogOn : {false, true}) {
            SCOPED_TRACE(std::string("console ") + (consoleOn ? "on" : "off") + ", system log " +
                         (syslogOn ? "on" : "off"));
            InfoLog log(name, &console, textOnly);
            log.consoleOn = consoleOn;
            log.syslogOn = syslogOn;

            log << "text" << std::endl;
            EXPECT_EQ(shown(), consoleOn ? "text\n" : "");
            EXPECT_EQ(systemLog.drain(),
                      syslogOn ? Records({{LOG_INFO, name, "text\n"}}) : Records());

            // A record that was sent nowhere is discarded too.
            log.consoleOn = true;
            log.syslogOn = true;
            log << "next" << std::endl;
            EXPECT_EQ(shown(), "next\n");
            EXPECT_EQ(systemLog.drain(), (Records{{LOG_INFO, name, "next\n"}}));
        }
    }
}

TEST_F(LogStreamOutput, StartsWithBothSwitchesOn)
{
    const InfoLog log(name, &console, textOnly);

    EXPECT_TRUE(log.consoleOn);
    EXPECT_TRUE(log.syslogOn);
}

TEST_F(LogStreamOutput, SendsAnEmptyErrorToTheSystemLogOnly)
{
    ErrorLog log(name, &console, levelOnly);

    log << std::flush;
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, name, ""}}));
    log << "" << std::flush;
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, name, ""}}));
}

TEST_F(LogStreamOutput, SendsEmptyInformationToTheSystemLogOnlyAndOnlyIfItIsOn)
{
    InfoLog log(name, &console, levelOnly);

    log << std::flush;
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_INFO, name, ""}}));
    log.syslogOn = false;
    log << std::flush;
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(systemLog.drain(), Records());
}

TEST_F(LogStreamOutput, TreatsANewlineAloneAsText)
{
    ErrorLog log(name, &console, levelOnly);

    log << std::endl;
    EXPECT_EQ(shown(), "ERROR: \n");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, name, "\n"}}));
}

TEST_F(LogStreamOutput, MakesOneRecordOfSeveralInsertions)
{
    ErrorLog log(name, &console, levelOnly);

    log << "code " << 12 << ", at " << std::size_t{345} << ' ' << -6 << ' ' << 1.5 << ' ' << true
        << ' ' << std::hex << 255 << std::dec << ' ' << std::setw(3) << std::setfill('0') << 7
        << std::string(" text");
    log.put('!');
    log.write("?x", 1);
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(systemLog.drain(), Records());

    log << std::endl;
    EXPECT_EQ(shown(), "ERROR: code 12, at 345 -6 1.5 1 ff 007 text!?\n");
    EXPECT_EQ(systemLog.drain(),
              (Records{{LOG_ERR, name, "code 12, at 345 -6 1.5 1 ff 007 text!?\n"}}));
}

TEST_F(LogStreamOutput, MakesOneRecordOfSeveralLines)
{
    ErrorLog log(name, &console, levelOnly);

    log << "one\ntwo\n"
        << "three\n"
        << std::flush;
    EXPECT_EQ(shown(), "ERROR: one\ntwo\nthree\n");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, name, "one\ntwo\nthree\n"}}));
}

TEST_F(LogStreamOutput, StartsEachRecordAfresh)
{
    ErrorLog log(name, &console, levelOnly);

    log << "a long first record" << std::endl;
    log << "second" << std::endl;
    log << "third one" << std::flush;
    EXPECT_EQ(shown(), "ERROR: a long first record\nERROR: second\nERROR: third one\n");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, name, "a long first record\n"},
                                          {LOG_ERR, name, "second\n"},
                                          {LOG_ERR, name, "third one"}}));
}

// The record is the whole content of the buffer, whatever the position of the next insertion.
TEST_F(LogStreamOutput, SendsTheTextAfterTheWritePositionToo)
{
    ErrorLog log(name, &console, textOnly);

    log << "abcdef";
    log.seekp(2);
    log << 'X' << std::flush;
    EXPECT_EQ(shown(), "abXdef\n");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, name, "abXdef"}}));
}

TEST_F(LogStreamOutput, KeepsThePendingTextOfEachStreamSeparate)
{
    ErrorLog errors(name, &console, levelOnly);
    InfoLog infos(name, &console, textOnly);

    errors << "error, ";
    infos << "information";
    errors << "whole" << std::endl;
    EXPECT_EQ(shown(), "ERROR: error, whole\n");
    infos << std::endl;
    EXPECT_EQ(shown(), "information\n");
}

TEST_F(LogStreamOutput, LosesTextThatIsNeverFlushed)
{
    {
        ErrorLog errors(name, &console, levelOnly);
        InfoLog infos(name, &console, textOnly);
        errors << "pending\n";
        infos << "pending\n";
    }
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(systemLog.drain(), Records());
}

TEST_F(LogStreamOutput, DoesNotUseTheTextAsAFormat)
{
    ErrorLog log(name, &console, levelOnly);

    log << "100 %s %d %n %%" << std::flush;
    EXPECT_EQ(shown(), "ERROR: 100 %s %d %n %%\n");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, name, "100 %s %d %n %%"}}));
}

TEST_F(LogStreamOutput, ShowsALongRecordWhole)
{
    ErrorLog log(name, &console, levelOnly);
    const std::string half(20'000, 'x');

    log << half << '\n' << half << std::endl;
    EXPECT_EQ(shown(), "ERROR: " + half + '\n' + half + '\n');
    // Some C libraries truncate a long record.
    const Records records = systemLog.drain();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].text.substr(0, 500), half.substr(0, 500));
}

TEST_F(LogStreamOutput, ShowsTheTimeOfTheFlush)
{
    setenv("TZ", "UTC0", 1);
    tzset();
    const auto stamp = [](system_clock::time_point time) {
        std::ostringstream line;
        ConsoleSink(&line, dateAndTime).write(time, "text", LOG_ERR);
        return line.str();
    };
    ErrorLog log(name, &console, dateAndTime);
    log << "text";
    const auto inserted = system_clock::now();
    while (system_clock::now() < inserted + milliseconds(2)) {
    }

    const std::string before = stamp(system_clock::now());
    log << std::flush;
    const std::string after = stamp(system_clock::now());
    const std::string line = shown();
    EXPECT_LE(before, line);
    EXPECT_LE(line, after);
    unsetenv("TZ");
    tzset();
}

TEST_F(LogStreamOutput, UsesTheIdentity)
{
    struct Row {
        const char* identity;
        const char* expected;
    };
    for (const Row& row :
         {Row{"name", "name"}, Row{"", "KWsyslog3"}, Row{" ", " "}, Row{"\xc3\xa9", "\xc3\xa9"}}) {
        SCOPED_TRACE(testing::PrintToString(row.identity));
        {
            ErrorLog log(row.identity, &console, levelOnly);
            log << "text" << std::flush;
        }
        InfoLog log(row.identity, &console, textOnly);
        log << "text" << std::flush;

        EXPECT_EQ(systemLog.drain(),
                  (Records{{LOG_ERR, row.expected, "text"}, {LOG_INFO, row.expected, "text"}}));
    }
}

TEST_F(LogStreamOutput, UsesTheIdentityOfTheLastStream)
{
    ErrorLog errors("first", &console, levelOnly);
    const InfoLog infos("second", &console, textOnly);

    errors << "text" << std::flush;
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, "second", "text"}}));
}

TEST_F(LogStreamOutput, ConnectsToTheSystemLogAtTheFirstRecordAndLeavesItWhenDestroyed)
{
    const std::size_t before = socketCount();
    {
        ErrorLog log(name, &console, levelOnly);
        EXPECT_EQ(socketCount(), before);
        log << "text" << std::endl;
        EXPECT_EQ(socketCount(), before + 1);
    }
    EXPECT_EQ(socketCount(), before);
    {
        InfoLog log(name, &console, textOnly);
        EXPECT_EQ(socketCount(), before);
        log << "text" << std::endl;
        EXPECT_EQ(socketCount(), before + 1);
    }
    EXPECT_EQ(socketCount(), before);
}

// syslog(3) prints there with LOG_PERROR.
TEST_F(LogStreamOutput, PrintsNothingElseOnStandardError)
{
    const int kept = dup(STDERR_FILENO);
    const int file = open("/tmp/standard-error", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(file, 0);
    dup2(file, STDERR_FILENO);
    {
        ErrorLog errors(name, &console, levelOnly);
        InfoLog infos(name, &console, textOnly);
        errors << "one" << std::endl;
        infos << "two" << std::endl;
    }
    dup2(kept, STDERR_FILENO);
    close(kept);
    close(file);
    EXPECT_EQ(readFile("/tmp/standard-error"), "");
}

TEST_F(LogStreamOutput, ReachesTheSystemLogAfterAnotherStreamClosedIt)
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

TEST_F(LogStreamOutput, ReachesTheSystemLogWhenTheConsoleFails)
{
    std::ostream broken(nullptr);
    std::ostringstream failed;
    failed.setstate(std::ios::failbit);
    struct Row {
        const char* name;
        std::ostream* console;
    };
    for (const Row& row :
         {Row{"without a buffer", &broken}, Row{"failed before", &failed}, Row{"none", nullptr}}) {
        SCOPED_TRACE(row.name);
        ErrorLog errors(name, row.console, levelOnly);
        InfoLog infos(name, row.console, textOnly);

        errors << "one" << std::endl;
        infos << "two" << std::endl;
        EXPECT_EQ(systemLog.drain(),
                  (Records{{LOG_ERR, name, "one\n"}, {LOG_INFO, name, "two\n"}}));
        EXPECT_TRUE(errors.good());
        EXPECT_TRUE(infos.good());
    }
    EXPECT_TRUE(broken.bad());
    EXPECT_TRUE(failed.fail());
    EXPECT_EQ(failed.str(), "");
}

TEST_F(LogStreamOutput, ReachesTheConsoleWithoutASystemLog)
{
    ErrorLog log(name, &console, levelOnly);
    systemLog.die();

    log << "daemon dead" << std::endl;
    fs::remove("/dev/log");
    log << "socket missing" << std::endl;
    EXPECT_EQ(shown(), "ERROR: daemon dead\nERROR: socket missing\n");
    EXPECT_TRUE(log.good());
}

TEST_F(LogStreamOutput, IsGoodFromTheStartAndAfterEachFlush)
{
    ErrorLog errors(name, &console, levelOnly);
    InfoLog infos(name, &console, textOnly);
    EXPECT_TRUE(errors.good());
    EXPECT_TRUE(infos.good());
    for (const Flush& flush : flushes) {
        SCOPED_TRACE(flush.name);
        for (std::ostream* const log :
             {static_cast<std::ostream*>(&errors), static_cast<std::ostream*>(&infos)}) {
            *log << "text";
            flush.apply(*log);
            EXPECT_TRUE(log->good());
            EXPECT_EQ(log->rdbuf()->pubsync(), 0);
        }
        EXPECT_EQ(systemLog.drain().size(), 4U);
    }
}

TEST_F(LogStreamOutput, ReportsSuccessOfASyncEvenInAFailedState)
{
    ErrorLog log(name, &console, levelOnly);
    log << "text";
    log.setstate(std::ios::badbit);

    EXPECT_EQ(log.rdbuf()->pubsync(), 0);
    EXPECT_EQ(shown(), "ERROR: text\n");
}

// The record is taken off the buffer when both destinations have had it.
TEST_F(LogStreamOutput, KeepsTheRecordIfTheConsoleThrows)
{
    ErrorLog log(name, &console, levelOnly);
    console.setstate(std::ios::badbit);
    EXPECT_THROW(console.exceptions(std::ios::badbit), std::ios::failure);
    log << "text";
    EXPECT_THROW(static_cast<void>(log.rdbuf()->pubsync()), std::ios::failure);
    EXPECT_EQ(systemLog.drain(), Records{});

    console.clear();
    EXPECT_EQ(log.rdbuf()->pubsync(), 0);
    EXPECT_EQ(shown(), "ERROR: text\n");
    EXPECT_EQ(systemLog.drain(), (Records{{LOG_ERR, name, "text"}}));
}

}  // namespace
