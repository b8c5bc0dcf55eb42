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

/// Collects the text inserted into a log stream, and emits it as one record at each flush.
class LogBuffer : public std::stringbuf {
public:
    explicit LogBuffer(LogStream& stream) : owner(&stream) {}

protected:
    /// Emits the record and returns 0, for success, in any case.
    int sync() override;

private:
    LogStream* owner;
};

/// An output stream that writes records to the console and to the system log.
///
/// A record is everything inserted since the last flush (std::endl, std::flush, flush()). Nothing
/// leaves the stream before a flush, and text that is never flushed is lost. If the console fails,
/// the record still goes to the system log, and the state of the log stream stays good.
///
/// The system log is process-wide: each stream opens it on construction and closes it on
/// destruction, and the identity given last applies to all streams.
class LogStream : public std::ostream {
public:
    /// Closes the system log.
    ~LogStream() override;

    LogStream(const LogStream&) = delete;
    LogStream& operator=(const LogStream&) = delete;

protected:
    /// Opens the system log with the identity, or with "KWsyslog3" if that is empty. Identity and
    /// console must outlive the stream; the console may be null. The format is a ConsoleFormat.
    LogStream(const char* identity, std::ostream* console, std::int32_t format);

    friend class LogBuffer;

    /// Passes one record to the sinks, with the time of its flush.
    virtual void emit(std::chrono::system_clock::time_point time, const std::string& text) = 0;

    LogBuffer buffer;
    ConsoleSink consoleSink;
    SyslogSink syslogSink;
};

/// A log for errors: each record goes to the console and, at LOG_ERR, to the system log.
class ErrorLog final : public LogStream {
public:
    ErrorLog(const char* identity, std::ostream* console, std::int32_t format)
        : LogStream(identity, console, format)
    {
    }

private:
    void emit(std::chrono::system_clock::time_point time, const std::string& text) override;
};

/// A log for information: each record goes, at LOG_INFO, to the destinations that are switched on.
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
