// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <ctime>

#include "tests/unit/effects/Call.h"

namespace {

using std::chrono::nanoseconds;

nanoseconds durationOf(const timespec& time)
{
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

timespec timespecOf(nanoseconds time)
{
    constexpr std::int64_t second = 1'000'000'000;
    return {static_cast<std::time_t>(time.count() / second), time.count() % second};
}

/// As nanosleep(2).
int waited(const timespec& request, timespec* remaining)
{
    const Call call;
    if (!call.wasActive) {
        errno = clock_nanosleep(CLOCK_REALTIME, 0, &request, remaining);
        return errno == 0 ? 0 : -1;
    }
    nanoseconds left{};
    const int result = call.wait(durationOf(request), left);
    if (result != 0 && errno == EINTR && remaining != nullptr) {
        *remaining = timespecOf(left);
    }
    return result;
}

}  // namespace

extern "C" {

int nanosleep(const timespec* request, timespec* remaining)
{
    return waited(*request, remaining);
}

int usleep(useconds_t microseconds)
{
    return waited(timespecOf(std::chrono::microseconds(microseconds)), nullptr);
}

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const Call call;
    if (!call.wasActive) {
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    }
    *time = timespecOf(clock == CLOCK_REALTIME ? currentEffects->systemTime
                                               : currentEffects->steadyTime);
    return 0;
}

}  // extern "C"
