// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <dlfcn.h>
#include <syslog.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "tests/unit/calls/Calls.h"

// The functions of syslog(3). While calls are recorded nothing is sent; otherwise they are the C
// library's. The fortified form of syslog is the one that an optimised program calls.

namespace {

/// What openlog(3) keeps: the address, not the text.
const char* identity = nullptr;

/// The C library's function of this name.
template <typename Function>
Function* original(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

[[gnu::format(printf, 2, 0)]] void send(int priority, const char* format, std::va_list arguments)
{
    const Calls::Inside inside;
    if (currentCalls == nullptr) {
        original<decltype(vsyslog)>("vsyslog")(priority, format, arguments);
        return;
    }
    std::array<char, 20'000> text{};
    static_cast<void>(std::vsnprintf(text.data(), text.size(), format, arguments));
    currentCalls->add("syslog " + std::to_string(priority) + " " + format + " as " +
                      (identity == nullptr ? "nobody" : identity) + ": " +
                      quoted(text.data(), std::strlen(text.data())));
}

}  // namespace

extern "C" {

void openlog(const char* ident, int options, int facility)
{
    const Calls::Inside inside;
    if (currentCalls == nullptr) {
        original<decltype(openlog)>("openlog")(ident, options, facility);
        return;
    }
    identity = ident;
    currentCalls->add("openlog " + quoted(ident, std::strlen(ident)) + " options " +
                      std::to_string(options) + " facility " + std::to_string(facility));
}

void closelog()
{
    const Calls::Inside inside;
    if (currentCalls == nullptr) {
        original<decltype(closelog)>("closelog")();
        return;
    }
    identity = nullptr;
    currentCalls->add("closelog");
}

void syslog(int priority, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    send(priority, format, arguments);
    va_end(arguments);
}

/// Has no effect: the product sets none.
int setlogmask(int mask) noexcept
{
    constexpr int everything = 0xff;
    const Calls::Inside inside;
    note("setlogmask " + std::to_string(mask));
    return everything;
}

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the library's own name
[[gnu::format(printf, 3, 4)]] void __syslog_chk(int priority, int /*flag*/, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    send(priority, format, arguments);
    va_end(arguments);
}

}  // extern "C"
