// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// Performs one whole run with the arguments of main: decides the mode, updates the configuration
/// file, and returns the exit status. Writes to std::cout, std::cerr and the system log.
[[nodiscard]] int runSwitchQuerier(int argc, const char* const* argv);
