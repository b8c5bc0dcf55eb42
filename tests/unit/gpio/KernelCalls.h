// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>
#include <vector>

/// Records the calls of open(2) and nanosleep(2). KernelCalls.cpp defines both, and the library
/// under test calls these instead of the C library's. A failed open leaves no other trace to count.
struct KernelCalls {
    std::vector<int> openFlags;  ///< of each attempt to open a value file
    int descriptor = -1;         ///< the result of the last attempt

    /// Called before each attempt with its number, from 1.
    std::function<void(std::size_t attempt)> beforeOpen = [](std::size_t /*attempt*/) {};

    std::vector<timespec> sleeps;  ///< the request of each nanosleep(2)

    /// Replaces nanosleep(2).
    std::function<int(const timespec* request, timespec* remaining)> sleep = realSleep;

    static int realSleep(const timespec* request, timespec* remaining);
};

/// The record of the running test; null between tests.
extern KernelCalls* kernelCalls;

std::chrono::nanoseconds durationOf(const timespec& time);

/// Returns a sleep that is interrupted once, as by a signal, with this much time left.
std::function<int(const timespec*, timespec*)> interruptedOnce(std::chrono::nanoseconds left);
