// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>
#include <vector>

/// What passes through the open(2) and nanosleep(2) of this program, in KernelCalls.cpp, which the
/// library under test reaches in place of the C library's. A failed open leaves no other trace that
/// could be counted.
struct KernelCalls {
    std::vector<int> openFlags;  ///< of each attempt to open a value file
    int descriptor = -1;         ///< what the last of them gave

    /// Is called before each of them, with its number, from 1.
    std::function<void(std::size_t attempt)> beforeOpen = [](std::size_t /*attempt*/) {};

    std::vector<timespec> sleeps;  ///< what each nanosleep(2) asked for

    /// Sleeps, or does something else and returns the result.
    std::function<int(const timespec* request, timespec* remaining)> sleep = realSleep;

    static int realSleep(const timespec* request, timespec* remaining);
};

/// Those of the running test; null between tests.
extern KernelCalls* kernelCalls;

std::chrono::nanoseconds durationOf(const timespec& time);

/// Ends the sleep as a signal does that comes when this much of it is left.
std::function<int(const timespec*, timespec*)> interruptedOnce(std::chrono::nanoseconds left);
