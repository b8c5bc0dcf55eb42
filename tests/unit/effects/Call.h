// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>

#include "tests/unit/effects/Effects.h"

/// A call of a function that takes the place of the C library's. If the code under test made it, it
/// has an effect; otherwise, or in the meantime, the functions are the C library's.
class Call : public Effects::Pause {
public:
    /// Does what the C library's function does. A negative result is a failure, and errno says
    /// which.
    using Action = std::function<long()>;

    long perform(const std::string& effect, const Action& action) const;

    /// Reads or writes bytes at an offset of a file, -1 if it has none. The result is their number.
    ssize_t transfer(const char* verb, int descriptor, off_t offset, const char* bytes,
                     const Action& action) const;

    /// Opens a file. The result is its descriptor.
    int open(const std::string& effect, const Effects::Opening& opening,
             const Action& action) const;

    /// Closes a descriptor.
    int close(int descriptor, const Action& action) const;

    /// Waits, and stores how much is left of the time after a signal (EINTR).
    int wait(std::chrono::nanoseconds duration, std::chrono::nanoseconds& left) const;

    /// The path that a descriptor was opened by.
    [[nodiscard]] std::string pathOf(int descriptor) const;
};

/// The object that exists, or null.
extern Effects* currentEffects;
