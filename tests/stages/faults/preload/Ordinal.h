// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>

// The calls to fail: those from number FAULT_FIRST to number FAULT_LAST, both of the environment.
// If FAULT_COUNT_FILE is set, the number of calls is written to that file at the program's end.

inline long& callCount()
{
    static long count = 0;
    return count;
}

/// Counts a call, and returns whether it is to fail.
inline bool isInjected()
{
    // The dynamic linker allocates before there is an environment; that is not the program.
    if (environ == nullptr) {
        return false;
    }
    const char* const first = std::getenv("FAULT_FIRST");
    const char* const last = std::getenv("FAULT_LAST");
    const long call = ++callCount();
    return first != nullptr && last != nullptr && std::atol(first) <= call &&
           call <= std::atol(last);
}

[[gnu::destructor]] inline void writeCount()
{
    const char* const file = std::getenv("FAULT_COUNT_FILE");
    if (file == nullptr) {
        return;
    }
    char digits[20];
    char* start = digits + sizeof digits;
    for (long rest = callCount(); rest > 0; rest /= 10) {
        *--start = static_cast<char>('0' + rest % 10);
    }
    const int fd = open(file, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    syscall(SYS_write, fd, start, static_cast<std::size_t>(digits + sizeof digits - start));
    close(fd);
}
