// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// Requests a line of a chip such as /dev/gpiochip0 as an input, as a driver does. Returns a
/// descriptor that holds the line until it is closed, or -1 with the reason in errno.
int holdLine(const char* chip, unsigned line);
