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

template <typename Timespec = timespec>
Timespec timespecOf(nanoseconds time)
{
    constexpr std::int64_t second = 1'000'000'000;
    Timespec split{};
    split.tv_sec = static_cast<decltype(split.tv_sec)>(time.count() / second);
    split.tv_nsec = static_cast<decltype(split.tv_nsec)>(time.count() % second);
    return split;
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

/// As clock_gettime(2), which is the system call of this number.
template <typename Timespec>
int clockRead(long systemCall, clockid_t clock, Timespec* time)
{
    const Call call;
    if (!call.wasActive) {
        return static_cast<int>(syscall(systemCall, clock, time));
    }
    *time = timespecOf<Timespec>(clock == CLOCK_REALTIME ? currentEffects->systemTime
                                                         : currentEffects->steadyTime);
    return 0;
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

#ifdef __USE_TIME_BITS64  // on 32 bits, where the C++ library may still ask for the time in 32
struct Timespec32 {
    std::int32_t tv_sec;
    std::int32_t tv_nsec;
};

int clockGettime32(clockid_t clock, Timespec32* time) noexcept __asm__("clock_gettime");

int clockGettime32(clockid_t clock, Timespec32* time) noexcept
{
    return clockRead(SYS_clock_gettime, clock, time);
}

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    return clockRead(SYS_clock_gettime64, clock, time);
}
#else
int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    return clockRead(SYS_clock_gettime, clock, time);
}
#endif

}  // extern "C"
