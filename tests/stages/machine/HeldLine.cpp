// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/machine/HeldLine.h"

#include <fcntl.h>
#include <linux/gpio.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstring>

int holdLine(const char* chip, unsigned line)
{
    const int descriptor = open(chip, O_RDWR | O_CLOEXEC);
    gpio_v2_line_request request{};
    request.offsets[0] = line;
    request.num_lines = 1;
    request.config.flags = GPIO_V2_LINE_FLAG_INPUT;
    std::strncpy(request.consumer, "switch-querier test", sizeof request.consumer - 1);
    const int result = ioctl(descriptor, GPIO_V2_GET_LINE_IOCTL, &request);
    close(descriptor);
    return result == 0 ? request.fd : -1;
}
