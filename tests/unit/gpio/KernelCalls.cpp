// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/gpio/KernelCalls.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <string_view>

KernelCalls* kernelCalls = nullptr;

int KernelCalls::realSleep(const timespec* request, timespec* remaining)
{
    errno = clock_nanosleep(CLOCK_REALTIME, 0, request, remaining);
    return errno == 0 ? 0 : -1;
}

std::chrono::nanoseconds durationOf(const timespec& time)
{
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::function<int(const timespec*, timespec*)> interruptedOnce(std::chrono::nanoseconds left)
{
    return [left, done = false](const timespec* request, timespec* remaining) mutable {
        if (done) {
            return KernelCalls::realSleep(request, remaining);
        }
        done = true;
        *remaining = {0, static_cast<long>(left.count())};
        errno = EINTR;
        return -1;
    };
}

extern "C" int open(const char* path, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    const bool counts = kernelCalls != nullptr && std::string_view(path).ends_with("/value");
    if (counts) {
        kernelCalls->openFlags.push_back(flags);
        kernelCalls->beforeOpen(kernelCalls->openFlags.size());
    }
    const int descriptor = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    if (counts) {
        kernelCalls->descriptor = descriptor;
    }
    return descriptor;
}

extern "C" int nanosleep(const timespec* request, timespec* remaining)
{
    if (kernelCalls == nullptr) {
        return KernelCalls::realSleep(request, remaining);
    }
    kernelCalls->sleeps.push_back(*request);
    return kernelCalls->sleep(request, remaining);
}
