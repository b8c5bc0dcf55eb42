// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// Takes a line of a chip, /dev/gpiochip0 say, as an input, as a driver does that uses it. Returns a
/// descriptor that holds the line until it is closed, or -1 with the reason in errno.
int holdLine(const char* chip, unsigned line);
