// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Guarantee.h"
#include "tests/stages/faults/Injection.h"
#include "tests/stages/faults/Scenario.h"

// Every system call of every scenario fails with every error that it can plausibly report, and is
// the last one before the process is killed.
namespace {

using Names = std::vector<std::string>;

/// The errors are those of the manual pages, and those that file systems, security modules and the
/// GPIO drivers are known for. A call that is not listed gets the errors of the last line.
const std::map<std::string, Names> errorsOf = {
    {"openat",
     {"EACCES", "EBUSY", "EDQUOT", "EINTR", "EIO", "EISDIR", "ELOOP", "EMFILE", "ENFILE", "ENODEV",
      "ENOENT", "ENOMEM", "ENOSPC", "ENOTDIR", "ENXIO", "EPERM", "EROFS", "ETXTBSY"}},
    {"close", {"EBADF", "EDQUOT", "EINTR", "EIO", "ENOSPC"}},
    {"read", {"EAGAIN", "EBADF", "EINTR", "EINVAL", "EIO", "EISDIR", "ENODEV"}},
    {"write",
     {"EAGAIN", "EBADF", "EBUSY", "EDQUOT", "EFBIG", "EINTR", "EINVAL", "EIO", "ENODEV", "ENOSPC",
      "EPERM", "EPIPE"}},
    {"writev",
     {"EAGAIN", "EBADF", "EDQUOT", "EFBIG", "EINTR", "EINVAL", "EIO", "ENOSPC", "EPERM", "EPIPE"}},
    {"lseek", {"EBADF", "EINVAL", "EIO", "ENXIO", "EOVERFLOW", "ESPIPE"}},
    {"rename",
     {"EACCES", "EBUSY", "EDQUOT", "EINTR", "EIO", "EISDIR", "ENOENT", "ENOMEM", "ENOSPC", "EPERM",
      "EROFS", "EXDEV"}},
    {"renameat",
     {"EACCES", "EBUSY", "EDQUOT", "EINTR", "EIO", "EISDIR", "ENOENT", "ENOMEM", "ENOSPC", "EPERM",
      "EROFS", "EXDEV"}},
    {"fsync", {"EBADF", "EDQUOT", "EINTR", "EINVAL", "EIO", "ENOSPC", "EROFS"}},
    {"fcntl", {"EBADF", "EINTR", "EINVAL"}},
    {"ioctl", {"EBADF", "EINVAL", "EIO", "ENOTTY"}},
    {"newfstatat", {"EACCES", "EBADF", "EIO", "ENOENT", "ENOMEM", "EOVERFLOW"}},
    {"fstat", {"EBADF", "EIO", "ENOMEM", "EOVERFLOW"}},
    {"socket", {"EACCES", "EAFNOSUPPORT", "EINTR", "EMFILE", "ENFILE", "ENOBUFS", "ENOMEM"}},
    {"connect",
     {"EACCES", "EAGAIN", "ECONNREFUSED", "EINTR", "ENOENT", "EPERM", "EPROTOTYPE", "ETIMEDOUT"}},
    {"sendto",
     {"EAGAIN", "ECONNREFUSED", "ECONNRESET", "EINTR", "EMSGSIZE", "ENOBUFS", "ENOMEM", "ENOTCONN",
      "EPIPE"}},
    {"clock_nanosleep", {"EINTR", "EINVAL"}},
    {"mmap", {"EACCES", "EAGAIN", "ENOMEM", "EPERM"}},
    {"munmap", {"EINVAL", "ENOMEM"}},
    {"mprotect", {"EACCES", "ENOMEM"}},
    {"mremap", {"EAGAIN", "ENOMEM"}},
    {"", {"EINTR", "EINVAL", "EIO", "ENOMEM", "ENOSYS", "EPERM"}},
};

/// What strace(1) is to return in place of each result.
Names faultsOf(const std::string& name)
{
    if (name == "exit_group") {
        return {};  // it cannot fail
    }
    if (name == "brk") {
        return {"retval=0"};  // the kernel's brk reports no error, but the old end
    }
    Names faults;
    const auto listed = errorsOf.find(name);
    for (const std::string& error : (listed == errorsOf.end() ? errorsOf.at("") : listed->second)) {
        faults.push_back("error=" + error);
    }
    return faults;
}

bool isOneOf(const std::string& name, const Names& names)
{
    return std::ranges::find(names, name) != names.end();
}

enum class Times { once, fromThenOn };

void PrintTo(Times times, std::ostream* out)
{
    *out << (times == Times::once ? "once" : "from then on");
}

std::string whenOf(const SystemCall& call, const std::string& fault, Times times)
{
    std::string when = std::to_string(call.ordinal);
    if (times == Times::once) {
        return when;
    }
    // The C++ library repeats an interrupted call until it is not interrupted any more.
    return fault == "error=EINTR" ? when + ".." + std::to_string(call.ordinal + 4) : when + "+";
}

bool isOnConsole(const SystemCall& call)
{
    return call.text.starts_with(call.name + "(1,") || call.text.starts_with(call.name + "(2,");
}

Tolerance toleranceFor(const SystemCall& call, Times times)
{
    Tolerance tolerance;
    const bool writes = isOneOf(call.name, {"write", "writev"});
    tolerance.console = writes && (isOnConsole(call) || times == Times::fromThenOn);
    tolerance.log = isOneOf(call.name, {"socket", "connect", "sendto"});
    if (isOneOf(call.name, {"brk", "mmap", "mremap"})) {
        tolerance.signal = SIGABRT;
    }
    return tolerance;
}

/// Whether the failure does not change the run's result: that of a close or a sync, as
/// ReplacingFile specifies, and that of the console and the system log.
bool isHarmless(const SystemCall& call, Times times)
{
    return isOneOf(call.name, {"clock_nanosleep", "close", "connect", "fcntl", "fstat", "fsync",
                               "newfstatat", "sendto", "socket"}) ||
           (isOnConsole(call) && times == Times::once);
}

using Case = std::tuple<Scenario, Times>;

class SystemCallThatFails : public testing::TestWithParam<Case> {};

TEST_P(SystemCallThatFails, HoldsTheGuarantee)
{
    const auto& [scenario, times] = GetParam();
    std::set<int> statuses;
    int injections = 0;
    for (const SystemCall& call : systemCallsOf(scenario)) {
        for (const std::string& fault : call.ours ? faultsOf(call.name) : Names{}) {
            const std::string inject = fault + ":when=" + whenOf(call, fault, times);
            SCOPED_TRACE("inject=" + call.name + ":" + inject + ", which is " + call.text);
            FaultyRun faulty(scenario);

            const RunResult run =
                faulty.run(withFault(call.name, inject), toleranceFor(call, times));

            if (isHarmless(call, times)) {
                EXPECT_EQ(run.status, scenario.status());
            }
            faulty.expectRecovery();
            if (run.signal == 0) {
                statuses.insert(run.status);
            }
            ++injections;
            if (HasFailure()) {
                return;
            }
        }
    }
    EXPECT_EQ(statuses, statusesOf(scenario)) << "the faults miss some calls";
    RecordProperty("system calls failed", injections);
}

INSTANTIATE_TEST_SUITE_P(, SystemCallThatFails,
                         testing::Combine(testing::ValuesIn(scenarios()),
                                          testing::Values(Times::once, Times::fromThenOn)),
                         [](const auto& row) {
                             return std::get<0>(row.param).name +
                                    (std::get<1>(row.param) == Times::once ? "_Once"
                                                                           : "_FromThenOn");
                         });

class Kill : public testing::TestWithParam<Scenario> {};

TEST_P(Kill, AtAnySystemCallTearsNoFile)
{
    int kills = 0;
    for (const SystemCall& call : systemCallsOf(GetParam())) {
        if (call.name == "execve") {
            continue;  // that is not the program yet
        }
        SCOPED_TRACE("killed at " + call.text);
        FaultyRun faulty(GetParam());
        const std::string fault = "signal=KILL:when=" + std::to_string(call.ordinal);

        const RunResult run = faulty.run(withFault(call.name, fault), {.signal = SIGKILL});

        EXPECT_EQ(run.signal, SIGKILL);
        faulty.expectRecovery();
        ++kills;
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_GT(kills, 0);
    RecordProperty("kills", kills);
}

INSTANTIATE_TEST_SUITE_P(, Kill, testing::ValuesIn(scenarios()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
