// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <string>

/// Writes records to the system log.
class SyslogSink {
public:
    SyslogSink() = default;
    virtual ~SyslogSink() = default;

    SyslogSink(const SyslogSink&) = delete;
    SyslogSink& operator=(const SyslogSink&) = delete;

    /// Passes the text to syslog(3) unchanged, even if it is empty, and ignores the time: syslog(3)
    /// adds its own. A NUL byte ends the text. Blocks while the daemon does not read. Virtual so
    /// that a derived sink can write elsewhere.
    virtual void write(std::chrono::system_clock::time_point time, const std::string& text,
                       int priority);
};
