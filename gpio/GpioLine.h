// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>
#include <span>

/// One GPIO line, driven through the kernel's sysfs files.
///
/// Exports the line if needed, keeps its value file open, and reads and writes single levels
/// through it. Every operation blocks until it is done and reports a failure only through its
/// result. As an argument, level 0 is low and any other level is high. Destruction closes the value
/// file and leaves the line exported with its direction; only release unexports it.
///
/// Descriptor 0 is never closed; that is intended. A line gets it only if standard input was closed
/// when the line was opened.
class GpioLine {
public:
    // Direction requests. Any negative number means requestInput, any number above 2 requestKeep.
    static constexpr std::int32_t requestInput = -1;
    static constexpr std::int32_t requestLow = 0;   ///< an output that starts low
    static constexpr std::int32_t requestHigh = 1;  ///< an output that starts high
    static constexpr std::int32_t requestKeep = 2;  ///< keeps an output as it is; else requestHigh

    /// Constructs a handle without a line. Touches no file.
    GpioLine() = default;

    virtual ~GpioLine();

    GpioLine(const GpioLine&) = delete;
    GpioLine& operator=(const GpioLine&) = delete;

    /// Exports the line unless its directory exists, opens its value file in up to 11 attempts,
    /// each after a wait of 20 ms, and sets the direction (see setDirection).
    ///
    /// Returns true at once, and changes nothing, if this line is already open. Otherwise closes an
    /// open line first. Returns false if the line could not be exported, opened, or given its
    /// direction; no line is then open, except one whose descriptor is 0 (see close).
    [[nodiscard]] bool init(std::int32_t lineNumber, std::int32_t directionRequest);

    /// Returns the level of the line, 0 or 1, or -1 if the value file did not deliver 2 bytes;
    /// lastValue() is then unchanged.
    [[nodiscard]] std::int32_t readValue();

    /// Sets the level of an output. Returns whether it was written; lastValue() is the level in
    /// either case.
    [[nodiscard]] bool writeLevel(std::int32_t level);

    /// Sets the level of an output and, if it was written, sets the variable to the complement of
    /// its lowest bit, for the next call. Returns whether the level was written.
    [[nodiscard]] bool writeLevelAndToggle(std::int32_t& level);

    /// Sets the level, waits, and sets the complement of the argument's lowest bit. Level 2 is
    /// therefore high both times; that is intended. A duration of 0 or less does not wait. Returns
    /// whether both levels were written, and stops at the first that was not.
    [[nodiscard]] bool pulse(std::int32_t level);
    [[nodiscard]] bool pulseFor(std::int32_t level, std::chrono::nanoseconds duration);

    /// For each duration, sets the level, waits, and negates the level. Returns true after the last
    /// wait, or false as soon as a level was not written. The durations are measured on the system
    /// clock from the start of the call, so the time spent writing does not accumulate.
    /// REQUIRES: the sum of the durations does not exceed the range of the clock.
    [[nodiscard]] bool playSequence(std::int32_t level,
                                    std::span<const std::chrono::nanoseconds> durations);

    /// Sets the direction of a line as requested above, and returns whether its attribute was
    /// written or needed no writing. If so, lastValue() is the level that the line starts with. For
    /// an input, and for an output kept as it is, that level is read from the open value file; it
    /// is -1, and the result still true, if the file did not deliver 2 bytes.
    [[nodiscard]] bool setDirection(std::int32_t lineNumber, std::int32_t directionRequest);

    /// Selects the edges that poll(2) on the value file reports: falling (negative), both (0) or
    /// rising (positive). Returns whether the attribute was written.
    [[nodiscard]] bool setEdge(std::int32_t edgeRequest);
    [[nodiscard]] bool disableEdge();

    /// Unexports the line and closes it, even if the unexport fails.
    void release();

    /// Closes the value file and forgets the line. If the descriptor is 0 it does nothing at all:
    /// the line stays open.
    virtual void close();

    /// Returns the level last read or written, or -1 if setDirection could not read it.
    [[nodiscard]] std::int32_t lastValue() const { return value; }

    /// Returns 1 for an output, -1 for an input, 0 if no line is open.
    [[nodiscard]] std::int32_t currentMode() const { return mode; }

private:
    [[nodiscard]] std::int32_t readLevel();

    std::int32_t fd = -1;      ///< the open value file, or -1
    std::int32_t number = -1;  ///< the line that fd belongs to, or -1
    std::int32_t value = 0;
    std::int32_t mode = 0;
};
