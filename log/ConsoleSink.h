// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>

/// Where records go on the console.
class ConsoleSink {
public:
    /// Writes to the stream, which must outlive the sink, or nowhere when it is null. The format is
    ///    1  for "ERROR: text";
    ///    2  for "16-09:05:03.042 ERROR: text" (day, hour, minute, second, milliseconds);
    ///    3  for "2020-01-16 09:05:03.042 ERROR: text";
    ///    any other number for the text alone.
    /// Times are local times.
    ConsoleSink(std::ostream* stream, std::int32_t formatCode) : console(stream), format(formatCode)
    {
    }

    virtual ~ConsoleSink() = default;

    ConsoleSink(const ConsoleSink&) = delete;
    ConsoleSink& operator=(const ConsoleSink&) = delete;

    /// Writes one line in one insertion, adds a newline where the text ends in none, and flushes.
    /// An empty text writes nothing. A failure stays in the state of the console stream.
    virtual void write(std::chrono::system_clock::time_point time, const std::string& text,
                       int level);

private:
    std::ostream* console;
    std::int32_t format;
};
