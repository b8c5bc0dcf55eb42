// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// Opens each of the descriptors 0, 1 and 2 that is closed on the null device.
///
/// A program may be started with them closed. The next file that it opens then gets such a number,
/// and console output ends up in that file: the value of a GPIO line, or the configuration.
/// REQUIRES: nothing else has been opened yet.
void openClosedStandardDescriptors();
