// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <ostream>
#include <string>
#include <vector>

/// One call of syslog(3), without the facility: if that is given as 0, some C libraries send
/// LOG_USER and others LOG_KERN.
struct LogRecord {
    int level;  ///< LOG_ERR, LOG_INFO, …
    std::string identity;
    std::string text;

    bool operator==(const LogRecord&) const = default;
};

std::ostream& operator<<(std::ostream& out, const LogRecord& record);

/// A substitute for the daemon of the system log: the socket /dev/log and the records sent to it.
/// Drain it between runs: the kernel holds some ten records and then blocks the sender.
class SystemLog {
public:
    /// Creates /dev/log, replacing whatever was there.
    SystemLog();
    ~SystemLog();

    SystemLog(const SystemLog&) = delete;
    SystemLog& operator=(const SystemLog&) = delete;

    /// Removes and returns the records received so far, oldest first.
    std::vector<LogRecord> drain();

    /// Likewise, as they were sent: "<11>Nov 21 01:56:09 name: text".
    std::vector<std::string> drainRaw();

    /// Stops listening. The file of the socket stays, as after the death of a daemon.
    void die();

private:
    int fd;
};
