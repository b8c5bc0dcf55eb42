// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "log/SyslogSink.h"

#include <syslog.h>

void SyslogSink::write(std::chrono::system_clock::time_point /*time*/, const std::string& text,
                       int priority)
{
    syslog(priority, "%s", text.c_str());
}
