// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>

#include "log/ConsoleSink.h"
#include "log/LogStream.h"
#include "log/SyslogSink.h"
#include "tests/unit/calls/Calls.h"

// What the logs call, and what a record is on its way to the daemon.
namespace {

using std::chrono::system_clock;

constexpr char name[] = "switch-querier";

class SyslogCalls : public testing::Test {
protected:
    /// Returns the calls; each insertion and each flush of the console is a line too.
    std::string callsOf(const std::function<void(std::ostream& console)>& action)
    {
        std::ostream console(&buffer);
        return calls.record([&] { action(console); });
    }

    Calls calls;

private:
    class Buffer : public std::streambuf {
    public:
        explicit Buffer(Calls& recorder) : calls(recorder) {}

    protected:
        int_type overflow(int_type byte) override
        {
            const char text = traits_type::to_char_type(byte);
            return xsputn(&text, 1) == 1 ? byte : traits_type::eof();
        }
        std::streamsize xsputn(const char* bytes, std::streamsize count) override
        {
            const Calls::Inside inside;
            calls.add("console " + quoted(bytes, static_cast<std::size_t>(count)));
            return count;
        }
        int sync() override
        {
            const Calls::Inside inside;
            calls.add("console flushed");
            return 0;
        }

    private:
        Calls& calls;
    };

    Buffer buffer{calls};
};

}  // namespace

// The other files do not replace this one, which most suites have no use for.
extern "C" tm* localtime(const std::time_t* time) noexcept
{
    const Calls::Inside inside;
    if (currentCalls != nullptr) {
        currentCalls->add("localtime " + std::to_string(*time));
    }
    using Function = tm*(const std::time_t*);
    static auto* const original = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "localtime"));
    return original(time);
}

namespace {

TEST_F(SyslogCalls, OfAnErrorReachTheConsoleFirstAndThenTheSystemLog)
{
    EXPECT_EQ(callsOf([](std::ostream& console) {
                  ErrorLog log(name, &console, 1);
                  log << "one " << 2;
                  log << std::endl;
              }),
              "openlog \"switch-querier\" options 0 facility 0\n"
              "system clock\n"
              "console \"ERROR: one 2\\n\"\n"
              "console flushed\n"
              "syslog 3 %s as switch-querier: \"one 2\\n\"\n"
              "closelog\n");
}

TEST_F(SyslogCalls, OfAnInformationReachTheConsoleFirstAndThenTheSystemLog)
{
    EXPECT_EQ(callsOf([](std::ostream& console) {
                  InfoLog log(name, &console, 0);
                  log << "text" << std::flush;
              }),
              "openlog \"switch-querier\" options 0 facility 0\n"
              "system clock\n"
              "console \"text\"\n"
              "console \"\\n\"\n"
              "console flushed\n"
              "syslog 6 %s as switch-querier: \"text\"\n"
              "closelog\n");
}

TEST_F(SyslogCalls, OfAnEmptyRecordReachTheSystemLogOnly)
{
    EXPECT_EQ(callsOf([](std::ostream& console) {
                  ErrorLog errors(name, &console, 1);
                  InfoLog infos(name, &console, 0);
                  errors << std::flush;
                  infos << std::flush;
                  infos.syslogOn = false;
                  infos << std::flush;
              }),
              "openlog \"switch-querier\" options 0 facility 0\n"
              "openlog \"switch-querier\" options 0 facility 0\n"
              "system clock\n"
              "syslog 3 %s as switch-querier: \"\"\n"
              "system clock\n"
              "syslog 6 %s as switch-querier: \"\"\n"
              "system clock\n"
              "closelog\n"
              "closelog\n");
}

TEST_F(SyslogCalls, WithoutAnIdentityUseAnother)
{
    for (const int format : {0, 1}) {
        EXPECT_EQ(callsOf([format](std::ostream& console) {
                      if (format == 0) {
                          const InfoLog log("", &console, format);
                      } else {
                          const ErrorLog log("", &console, format);
                      }
                  }),
                  "openlog \"KWsyslog3\" options 0 facility 0\n"
                  "closelog\n");
    }
}

TEST_F(SyslogCalls, DropWhatIsNotFlushed)
{
    EXPECT_EQ(callsOf([](std::ostream& console) {
                  ErrorLog log(name, &console, 1);
                  log << "pending\n";
              }),
              "openlog \"switch-querier\" options 0 facility 0\n"
              "closelog\n");
}

TEST_F(SyslogCalls, HandThePriorityOnToTheBit)
{
    SyslogSink sink;
    for (const int priority : {0, 3, 6, 7, 8, 13, 191}) {
        EXPECT_EQ(callsOf([&](std::ostream& /*console*/) {
                      sink.write(system_clock::time_point(), "100 %d", priority);
                  }),
                  "syslog " + std::to_string(priority) + " %s as nobody: \"100 %d\"\n");
    }
}

TEST_F(SyslogCalls, HandALongTextOnWhole)
{
    SyslogSink sink;
    for (const std::size_t size : {std::size_t{1'023}, std::size_t{1'024}, std::size_t{10'000}}) {
        const std::string text = std::string(size - 1, 'x') + "\n";
        EXPECT_EQ(callsOf([&](std::ostream& /*console*/) {
                      sink.write(system_clock::time_point(), text, 3);
                  }),
                  "syslog 3 %s as nobody: " + std::to_string(size) + " bytes\n");
    }
}

TEST_F(SyslogCalls, BreakTheTimeDownOnceAndOnlyWhereItIsShown)
{
    const std::string openings = "openlog \"switch-querier\" options 0 facility 0\n"
                                 "system clock\n";
    for (const int format : {-1, 0, 1, 2, 3, 4}) {
        SCOPED_TRACE(format);
        const std::string transcript = callsOf([format](std::ostream& console) {
            ErrorLog log(name, &console, format);
            log << "text" << std::endl;
        });
        const bool showsTime = format == 2 || format == 3;
        const std::string expected =
            openings + (showsTime ? "localtime 1579165503\n" : "") + "console \"";
        EXPECT_EQ(transcript.substr(0, expected.size()), expected);
        EXPECT_EQ(transcript.find("localtime", expected.size()), std::string::npos);
    }
}

/// Stands in for the daemon, and gives what it receives as it is.
class Datagrams {
public:
    Datagrams() : fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        std::filesystem::remove_all(path);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::string_view(path).copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    ~Datagrams()
    {
        close(fd);
        std::filesystem::remove_all(path);
    }
    Datagrams(const Datagrams&) = delete;
    Datagrams& operator=(const Datagrams&) = delete;

    [[nodiscard]] std::string next() const
    {
        std::array<char, 1000> bytes{};
        const ssize_t count = recv(fd, bytes.data(), bytes.size(), MSG_DONTWAIT);
        return count < 0 ? "(none)" : std::string(bytes.data(), static_cast<std::size_t>(count));
    }

private:
    static constexpr char path[] = "/dev/log";
    int fd;
};

/// "<11>Nov 21 16:00:00 name: text" without the time, whose length is fixed (RFC 3164, 4.1.2).
std::string withoutTime(const std::string& datagram)
{
    const std::size_t end = datagram.find('>') + 1;
    constexpr std::size_t timeLength = sizeof "Nov 21 16:00:00 " - 1;
    return datagram.size() < end + timeLength
               ? datagram
               : datagram.substr(0, end) + datagram.substr(end + timeLength);
}

// A facility of 0 leaves the default to the C library: LOG_USER, or LOG_KERN as the number says.
TEST(SyslogDatagram, CarriesThePriorityTheIdentityAndTheText)
{
    const Datagrams datagrams;
    std::ostringstream console;
    ErrorLog errors(name, &console, 1);
    InfoLog infos(name, &console, 0);

    errors << "one" << std::endl;
    infos << "two" << std::flush;

    const std::string error = withoutTime(datagrams.next());
    const std::string information = withoutTime(datagrams.next());
    const bool isKernel = error.starts_with("<3>");
    EXPECT_EQ(error, std::string(isKernel ? "<3>" : "<11>") + "switch-querier: one\n");
    EXPECT_EQ(information, std::string(isKernel ? "<6>" : "<14>") + "switch-querier: two");
    EXPECT_EQ(datagrams.next(), "(none)");
}

}  // namespace
