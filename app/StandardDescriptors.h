// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// Opens those of the descriptors 0, 1 and 2 that are closed on the null device.
///
/// A program may be started with them closed. The next file that it opens then gets the number,
/// and what is printed to the console lands in that file: in the value of a GPIO line, in the
/// configuration. To be called before anything else is opened.
void fillStandardDescriptors();
