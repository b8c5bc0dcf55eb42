// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>

/// One GPIO line, driven through the kernel's sysfs files.
///
/// It exports the line where needed, keeps its value file open, and reads and writes single levels
/// through that. Every operation blocks until it is done; a failure is in the result only. A level
/// is 0 for low and anything else for high. Destruction closes the value file and leaves the line
/// exported, as it was set; only release takes the export back.
class GpioLine {
public:
    /// No line: descriptor and number -1, value and mode 0. Touches no file.
    GpioLine() = default;

    virtual ~GpioLine();

    GpioLine(const GpioLine&) = delete;
    GpioLine& operator=(const GpioLine&) = delete;

    /// Exports the line unless its folder is there, waits 20 ms before each of up to 11 attempts
    /// to open its value file, and sets the direction (see setDirection).
    ///
    /// Returns true at once, and changes nothing, when this line is open already. A line opened
    /// before is closed first. Returns false, with nothing open, when the line could not be
    /// exported, opened within the 11 attempts, or given its direction.
    [[nodiscard]] bool init(std::int32_t lineNumber, std::int32_t directionRequest);

    /// The level of the line, 0 or 1; -1, with lastValue() as it was, when the value file did not give
    /// its 2 bytes.
    [[nodiscard]] std::int32_t readValue();

    /// Sets the level of an output. Returns whether it was written; lastValue() is the level either way.
    [[nodiscard]] bool writeLevel(std::int32_t level);

    /// Sets the level of an output and, when that was written, makes the variable the complement
    /// of its lowest bit, for the next call.
    [[nodiscard]] bool writeLevelAndToggle(std::int32_t& level);

    /// Sets the level, waits, and sets the complement of the argument's lowest bit: from level 2
    /// that is high both times, which is intended. A duration of 0 or less does not wait. Returns
    /// whether both levels were written; after a failure the rest is left out.
    [[nodiscard]] bool pulse(std::int32_t level);
    [[nodiscard]] bool pulseFor(std::int32_t level, std::chrono::nanoseconds duration);

    /// Sets the level, and its negation after each duration but the last, after which it returns
    /// true; returns false at once when a level was not written. The durations count on the system
    /// clock from the call on, so that the time spent writing does not add up.
    /// REQUIRES: the durations' sum reaches no further than the clock.
    [[nodiscard]] bool playSequence(std::int32_t level,
                                    std::span<const std::chrono::nanoseconds> durations);

    /// Makes a line an input (request below 0), or an output that starts low (0) or high (1). A
    /// request above 1 leaves an output as it is and makes any other line an output that starts
    /// high. Returns whether the attribute was written, or needed no writing. On success value()
    /// is the level that the line starts with; where that is read from the open value file and did
    /// not give its 2 bytes, lastValue() is -1 and the result still true.
    [[nodiscard]] bool setDirection(std::int32_t lineNumber, std::int32_t directionRequest);

    /// Selects the edges that poll(2) on the value file reports: falling (request below 0), both
    /// (0) or rising (above 0). Returns whether the attribute was written.
    [[nodiscard]] bool setEdge(std::int32_t edgeRequest);
    [[nodiscard]] bool disableEdge();

    /// Takes the export of the line back, whether that succeeds or not, and closes it.
    void release();

    /// Closes the value file and forgets the line. With a descriptor of 0 it does nothing at all,
    /// which is intended.
    virtual void close();

    /// The level last read or written, or -1 where setDirection could not read it.
    [[nodiscard]] std::int32_t lastValue() const { return value; }

    /// 1 for an output, -1 for an input, 0 while no line is open.
    [[nodiscard]] std::int32_t lastMode() const { return mode; }

private:
    [[nodiscard]] std::int32_t readLevel();
    [[nodiscard]] bool write(std::int32_t level);

    std::int32_t fd = -1;      ///< the open value file, or -1
    std::int32_t number = -1;  ///< the line that fd belongs to, or -1
    std::int32_t value = 0;
    std::int32_t mode = 0;
};
