// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "log/LogLevel.h"

#include <syslog.h>

#include <array>
#include <cstddef>

const char* levelName(int priority)
{
    static constexpr std::array<const char*, LOG_PRIMASK + 1> names = {
        "EMERG", "ALERT", "CRITICAL", "ERROR", "WARNING", "NOTICE", "INFO", "DEBUG"};
    return names[static_cast<std::size_t>(LOG_PRI(priority))];
}
