// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <string>

#include "log/ConsoleSink.h"
#include "log/SyslogSink.h"

class LogStream;

/// Gathers what is inserted into a log stream, and hands it over whole at each flush.
class LogBuffer : public std::stringbuf {
public:
    explicit LogBuffer(LogStream& stream) : owner(&stream) {}

protected:
    /// Always 0, for success.
    int sync() override;

private:
    LogStream* owner;
};

/// An output stream whose records reach the console and the system log.
///
/// A record is everything inserted since the last flush (std::endl, std::flush, flush()); nothing
/// leaves the stream before that, and what is never flushed is lost. A failing console does not
/// keep a record from the system log, and the log stream's own state stays good.
///
/// The system log is process-wide: each stream opens it when it is made and closes it when it is
/// destroyed, and the identity of the last one opened holds for all.
class LogStream : public std::ostream {
public:
    /// Closes the system log.
    ~LogStream() override;

    LogStream(const LogStream&) = delete;
    LogStream& operator=(const LogStream&) = delete;

protected:
    /// Opens the system log with the identity, or with "KWsyslog3" when that is empty. Identity and
    /// console must outlive the stream; the console may be null. See ConsoleSink for the format.
    LogStream(const char* identity, std::ostream* console, std::int32_t format);

    friend class LogBuffer;

    /// Hands one record, flushed at this time, to the sinks.
    virtual void emit(std::chrono::system_clock::time_point time, const std::string& text) = 0;

    LogBuffer buffer;
    ConsoleSink consoleSink;
    SyslogSink syslogSink;
};

/// Error records: each goes to the console and, at LOG_ERR, to the system log.
class ErrorLog final : public LogStream {
public:
    ErrorLog(const char* identity, std::ostream* console, std::int32_t format)
        : LogStream(identity, console, format)
    {
    }

private:
    void emit(std::chrono::system_clock::time_point time, const std::string& text) override;
};

/// Informational records: each goes, at LOG_INFO, to those of the two that are switched on.
class InfoLog final : public LogStream {
public:
    InfoLog(const char* identity, std::ostream* console, std::int32_t format)
        : LogStream(identity, console, format)
    {
    }

    bool syslogOn = true;
    bool consoleOn = true;

private:
    void emit(std::chrono::system_clock::time_point time, const std::string& text) override;
};
