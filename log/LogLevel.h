// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// The name of a level, the number of which is a priority of syslog(3): "EMERG" for LOG_EMERG (0)
/// to "DEBUG" for LOG_DEBUG (7). Bits above the lowest three are ignored. Valid for the whole run.
[[nodiscard]] const char* levelName(int priority);
