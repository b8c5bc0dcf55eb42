// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>

#include "tests/unit/calls/Calls.h"

namespace {

bool hasOwnTime()
{
    return currentCalls != nullptr && !currentCalls->realTime;
}

timespec timespecOf(std::chrono::nanoseconds time)
{
    constexpr std::int64_t second = 1'000'000'000;
    timespec split{};
    split.tv_sec = time.count() / second;
    split.tv_nsec = time.count() % second;
    return split;
}

}  // namespace

extern "C" {

int usleep(useconds_t microseconds)
{
    const Calls::Inside inside;
    if (!hasOwnTime()) {
        const timespec request = timespecOf(std::chrono::microseconds(microseconds));
        return clock_nanosleep(CLOCK_REALTIME, 0, &request, nullptr);
    }
    note("usleep " + std::to_string(microseconds));
    if (const int error = currentCalls->usleepError; error != 0) {
        currentCalls->advance(std::chrono::microseconds(microseconds / 2));
        errno = error;
        return noted(-1, true);
    }
    currentCalls->advance(std::chrono::microseconds(microseconds));
    return 0;
}

int nanosleep(const timespec* request, timespec* remaining)
{
    const Calls::Inside inside;
    if (currentCalls != nullptr) {
        currentCalls->sleeps.push_back(*request);
    }
    if (!hasOwnTime()) {
        errno = clock_nanosleep(CLOCK_REALTIME, 0, request, remaining);
        return errno == 0 ? 0 : -1;
    }
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "nanosleep %lld.%09ld",
                  static_cast<long long>(request->tv_sec), request->tv_nsec);
    note(text.data());
    return currentCalls->sleep(request, remaining);
}

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const Calls::Inside inside;
    if (!hasOwnTime()) {
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    }
    const bool system = clock == CLOCK_REALTIME;
    note(system ? "system clock" : "clock " + std::to_string(clock));
    *time = timespecOf(system ? currentCalls->systemTime : currentCalls->steadyTime);
    return 0;
}

}  // extern "C"
