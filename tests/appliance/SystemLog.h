// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <ostream>
#include <string>
#include <vector>

/// What one call of syslog(3) left. The facility is left out: for one that is given as 0 some C
/// libraries send LOG_USER and others LOG_KERN.
struct LogRecord {
    int level;  ///< LOG_ERR, LOG_INFO, …
    std::string identity;
    std::string text;

    bool operator==(const LogRecord&) const = default;
};

std::ostream& operator<<(std::ostream& out, const LogRecord& record);

/// Stands in for the system log's daemon: the socket /dev/log, and what was sent to it. It must be
/// drained between runs, since the kernel holds some ten records and then lets the sender wait.
class SystemLog {
public:
    /// Makes /dev/log, whatever stood there.
    SystemLog();
    ~SystemLog();

    SystemLog(const SystemLog&) = delete;
    SystemLog& operator=(const SystemLog&) = delete;

    /// Takes the records that have come so far, oldest first.
    std::vector<LogRecord> drain();

    /// Stops listening; the socket's file stays, as a daemon that died leaves it.
    void die();

private:
    int fd;
};
