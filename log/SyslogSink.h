// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <string>

/// Where records go in the system log.
class SyslogSink {
public:
    SyslogSink() = default;
    virtual ~SyslogSink() = default;

    SyslogSink(const SyslogSink&) = delete;
    SyslogSink& operator=(const SyslogSink&) = delete;

    /// Hands the text to syslog(3) as it is, also an empty one; the daemon takes its own time. The
    /// system log ends a text at a NUL byte. It blocks for as long as the daemon does not read.
    virtual void write(std::chrono::system_clock::time_point time, const std::string& text,
                       int priority);
};
