// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/appliance/SystemLog.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace {

constexpr char socketPath[] = "/dev/log";

LogRecord parse(const std::string& message)
{
    const std::size_t close = message.find('>');
    const std::size_t colon = message.find(": ", close);
    const int priority = std::stoi(message.substr(1));
    const std::size_t identity = close + std::strlen(">Nov 21 01:56:09 ");
    return {LOG_PRI(priority), message.substr(identity, colon - identity),
            message.substr(colon + 2)};
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogRecord& record)
{
    return out << '<' << record.level << '>' << record.identity << ": " << record.text;
}

SystemLog::SystemLog() : fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
{
    std::filesystem::remove_all(socketPath);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string_view(socketPath).copy(address.sun_path, sizeof address.sun_path - 1);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::perror(socketPath);
        std::abort();
    }
}

SystemLog::~SystemLog()
{
    die();
    std::filesystem::remove_all(socketPath);
}

std::vector<LogRecord> SystemLog::drain()
{
    std::vector<LogRecord> records;
    for (const std::string& message : drainRaw()) {
        records.push_back(parse(message));
    }
    return records;
}

std::vector<std::string> SystemLog::drainRaw()
{
    std::vector<std::string> messages;
    std::array<char, 65536> bytes;
    ssize_t count = 0;
    while ((count = recv(fd, bytes.data(), bytes.size(), MSG_DONTWAIT)) >= 0) {
        messages.emplace_back(bytes.data(), static_cast<std::size_t>(count));
    }
    return messages;
}

void SystemLog::die()
{
    if (fd >= 0) {
        close(fd);
    }
    fd = -1;
}
