// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

void openClosedStandardDescriptors()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0) {
            continue;
        }
        // open(2) returns the lowest free number, and the lower ones are in use. Without a null
        // device the root directory takes the number: writes to it are refused.
        if (open("/dev/null", O_RDWR) < 0) {
            open("/", O_RDONLY);
        }
    }
}
