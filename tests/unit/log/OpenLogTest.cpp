// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include "log/LogStream.h"

namespace {

std::vector<std::string> calls;

/// The C library's function of this name.
template <typename Function>
Function* original(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// They take the place of the shared library's (ld.so(8)).
extern "C" {

void openlog(const char* identity, int options, int facility)
{
    calls.push_back("openlog " + std::string(identity) + " " + std::to_string(options) + " " +
                    std::to_string(facility));
    original<decltype(openlog)>("openlog")(identity, options, facility);
}

void closelog()
{
    calls.emplace_back("closelog");
    original<decltype(closelog)>("closelog")();
}

}  // extern "C"

namespace {

// With no option, and a facility of 0, which leaves it to the C library.
TEST(SystemLogConnection, IsOpenedOnceByEachStreamAndClosedOnce)
{
    calls.clear();
    auto errors = std::make_unique<ErrorLog>("name", nullptr, 1);
    auto infos = std::make_unique<InfoLog>("", nullptr, 0);
    EXPECT_EQ(calls, (std::vector<std::string>{"openlog name 0 0", "openlog KWsyslog3 0 0"}));
    calls.clear();
    infos.reset();
    errors.reset();
    EXPECT_EQ(calls, (std::vector<std::string>{"closelog", "closelog"}));
}

}  // namespace
