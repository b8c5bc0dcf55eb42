// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>
#include <vector>

#include "tests/unit/calls/Calls.h"

/// The calls of a test of GpioLine. Counts the attempts to open a value file.
class KernelCalls : public Calls {
public:
    std::vector<int> openFlags;  ///< of each attempt
    int descriptor = -1;         ///< what the last of them gave

    /// Called before each attempt with its number, from 1.
    std::function<void(std::size_t attempt)> beforeOpen = [](std::size_t /*attempt*/) {};

    /// The errors that opening a value file, reading and writing fail with; 0 for none.
    int openError = 0;
    int readError = 0;
    int writeError = 0;

private:
    int reading(int /*descriptor*/) override { return readError; }
    int writing(int /*descriptor*/) override { return writeError; }
    int opening(const char* path, int flags) override;
    void opened(const char* path, int opened) override;
};

/// Ends each sleep in turn as a signal does that comes when this much of it is left, below a
/// second, and lets the next one end by itself.
std::function<int(const timespec*, timespec*)>
interrupted(const std::vector<std::chrono::nanoseconds>& left);
