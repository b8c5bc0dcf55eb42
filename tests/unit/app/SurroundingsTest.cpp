// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <locale>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "tests/appliance/CommaLocale.h"
#include "tests/unit/app/RunKinds.h"
#include "tests/unit/effects/Effects.h"

namespace fs = std::filesystem;

// What a run shares with the process around it: nothing of that is changed, not even for a while,
// and nothing of that changes the run.
namespace {

/// The lines of proc_pid_status(5) that start with one of the words.
std::string linesOfStatus(const std::vector<std::string>& words)
{
    std::string text;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (std::any_of(words.begin(), words.end(),
                        [&](const auto& word) { return line.starts_with(word); })) {
            text += line + '\n';
        }
    }
    return text;
}

/// What the process has and the private root leaves as it is, one line for each item.
std::string processState()
{
    std::ostringstream text;
    text << "locale " << std::setlocale(LC_ALL, nullptr) << ", " << std::locale().name() << '\n';
    const mode_t mask = umask(0);
    umask(mask);
    text << "umask " << mask << '\n';
    for (int number = 1; number < SIGRTMIN; ++number) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) == 0) {
            text << "signal " << number << ' ' << reinterpret_cast<void*>(action.sa_handler)
                 << '\n';
        }
    }
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    for (int number = 1; number < SIGRTMIN; ++number) {
        text << sigismember(&blocked, number);
    }
    text << '\n';
    for (int resource = 0; resource < RLIM_NLIMITS; ++resource) {
        rlimit limit{};
        getrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
        text << "limit " << resource << ' ' << limit.rlim_cur << ' ' << limit.rlim_max << '\n';
    }
    itimerval timer{};
    getitimer(ITIMER_REAL, &timer);
    text << "priority " << getpriority(PRIO_PROCESS, 0) << ", policy " << sched_getscheduler(0)
         << "\ngroup " << getpgrp() << ", session " << getsid(0) << "\ntimer "
         << timer.it_value.tv_sec << "\nrounding " << std::fegetround() << ", traps "
         << fegetexcept() << "\ndumpable " << prctl(PR_GET_DUMPABLE) << "\nterminates by "
         << reinterpret_cast<void*>(std::get_terminate()) << ", allocates by "
         << reinterpret_cast<void*>(std::get_new_handler()) << "\nconsoles "
         << std::cout.getloc().name() << ", " << std::cerr.getloc().name() << '\n';
    text << linesOfStatus({"Name:", "NoNewPrivs:", "Seccomp:", "Cpus_allowed:", "VmLck:"});
    return text.str();
}

/// That of the process before any test.
const std::string firstProcessState = processState();

/// All that the process has, one line for each item.
std::string surroundings()
{
    std::ostringstream text;
    text << processState() << linesOfStatus({"Cap", "Groups:"}) << "user " << getuid() << ' '
         << geteuid() << ' ' << getgid() << ' ' << getegid() << "\ntime zone " << tzname[0] << ' '
         << timezone << '\n'
         << "directory " << fs::current_path() << '\n';
    for (char** variable = environ; *variable != nullptr; ++variable) {
        text << "environment " << *variable << '\n';
    }
    return text.str();
}

/// Surroundings that a run may find and that are unlike the usual ones.
class Unusual {
public:
    Unusual()
        : maskBefore(umask(0077)), handlerBefore(std::signal(SIGPIPE, SIG_IGN)),
          directoryBefore(fs::current_path())
    {
        groupsBefore.resize(static_cast<std::size_t>(getgroups(0, nullptr)));
        EXPECT_GE(getgroups(static_cast<int>(groupsBefore.size()), groupsBefore.data()), 0);
        constexpr gid_t somebody = 12345;
        static_cast<void>(setgroups(1, &somebody));  // where that is allowed
        setenv("LOCPATH", commaLocalePath, 1);
        setenv("LC_ALL", commaLocale, 1);
        static_cast<void>(std::setlocale(LC_ALL, ""));
        setenv("TZ", "EAST-5:30", 1);
        setenv("POSIXLY_CORRECT", "1", 1);
        setenv("TMPDIR", "/missing", 1);
        tzset();
        fs::current_path("/config");
    }

    ~Unusual()
    {
        static_cast<void>(setgroups(groupsBefore.size(), groupsBefore.data()));
        fs::current_path(directoryBefore);
        for (const char* const name : {"TZ", "LC_ALL", "LOCPATH", "POSIXLY_CORRECT", "TMPDIR"}) {
            unsetenv(name);
        }
        tzset();
        static_cast<void>(std::signal(SIGPIPE, handlerBefore));
        umask(maskBefore);
        static_cast<void>(std::setlocale(LC_ALL, "C"));
    }

    Unusual(const Unusual&) = delete;
    Unusual& operator=(const Unusual&) = delete;

private:
    mode_t maskBefore;
    void (*handlerBefore)(int);
    fs::path directoryBefore;
    std::vector<gid_t> groupsBefore;
};

/// Runs the program and compares what it shares with the process before each effect.
std::string runWithin(const RunKind& kind)
{
    resetAppliance();
    kind.arrange();
    tzset();  // the first conversion of a time to the local one calls it too
    const std::string atStart = surroundings();
    Effects effects;
    effects.before = [&atStart](const std::string& effect) {
        EXPECT_EQ(surroundings(), atStart) << effect;
        return 0;
    };
    return runProgram(effects, kind.arguments);
}

class Surroundings : public testing::TestWithParam<RunKind> {};

TEST_P(Surroundings, AreTheSameAtEachEffect)
{
    runWithin(GetParam());

    EXPECT_EQ(processState(), firstProcessState);
}

TEST_P(Surroundings, DoNotChangeARun)
{
    const std::string ordinary = runOf(GetParam());
    makeCommaLocale();
    const Unusual unusual;
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");

    EXPECT_EQ(runWithin(GetParam()), ordinary);
}

INSTANTIATE_TEST_SUITE_P(, Surroundings, testing::ValuesIn(runKinds()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
