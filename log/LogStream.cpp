// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "log/LogStream.h"

#include <syslog.h>

using std::chrono::system_clock;

int LogBuffer::sync()
{
    owner->emit(system_clock::now(), str());
    str(std::string());
    return 0;
}

LogStream::LogStream(const char* identity, std::ostream* console, std::int32_t format)
    : std::ostream(nullptr), buffer(*this), consoleSink(console, format)
{
    // The base is constructed before the buffer. Setting the buffer also clears the bad state.
    rdbuf(&buffer);
    openlog(*identity != '\0' ? identity : "KWsyslog3", 0, 0);
}

LogStream::~LogStream()
{
    closelog();
}

void ErrorLog::emit(system_clock::time_point time, const std::string& text)
{
    consoleSink.write(time, text, LOG_ERR);
    syslogSink.write(time, text, LOG_ERR);
}

void InfoLog::emit(system_clock::time_point time, const std::string& text)
{
    if (consoleOn) {
        consoleSink.write(time, text, LOG_INFO);
    }
    if (syslogOn) {
        syslogSink.write(time, text, LOG_INFO);
    }
}
