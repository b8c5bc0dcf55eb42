// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

void fillStandardDescriptors()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0) {
            continue;
        }
        // open(2) gives the lowest free number, and the ones below this one are taken. Without a
        // null device the root folder holds the place: what is written to it is refused.
        if (open("/dev/null", O_RDWR) < 0) {
            open("/", O_RDONLY);
        }
    }
}
