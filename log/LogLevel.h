// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// Returns the name of a syslog(3) priority: from "EMERG" (LOG_EMERG) to "DEBUG" (LOG_DEBUG).
/// All but the lowest three bits are ignored. The name is a constant text.
[[nodiscard]] const char* levelName(int priority);
