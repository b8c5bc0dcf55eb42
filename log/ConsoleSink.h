// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>

/// How the console shows a record. Times are local times; the numbers are fixed.
enum ConsoleFormat : std::int32_t {
    textOnly = 0,     ///< "text"; also for any code that is not listed here
    levelOnly = 1,    ///< "ERROR: text"
    dayAndTime = 2,   ///< "16-09:05:03.042 ERROR: text"
    dateAndTime = 3,  ///< "2020-01-16 09:05:03.042 ERROR: text"
};

/// Writes records to a console stream.
class ConsoleSink {
public:
    /// Writes to the stream, which must outlive the sink, or nowhere if it is null. The format code
    /// is a ConsoleFormat; any other number means textOnly.
    ConsoleSink(std::ostream* stream, std::int32_t formatCode) : console(stream), format(formatCode)
    {
    }

    virtual ~ConsoleSink() = default;

    ConsoleSink(const ConsoleSink&) = delete;
    ConsoleSink& operator=(const ConsoleSink&) = delete;

    /// Writes one line in a single insertion, adds a newline unless the text ends in one, and
    /// flushes. An empty text writes nothing. A failure stays in the state of the console stream.
    /// Virtual so that a derived sink can write elsewhere.
    virtual void write(std::chrono::system_clock::time_point time, const std::string& text,
                       int level);

private:
    std::ostream* console;
    std::int32_t format;
};
