// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// hold-line CHIP LINE PROGRAM [ARGUMENT]...
// Runs the program while another user has the line of the chip, requested as a driver does it.

#include <fcntl.h>
#include <linux/gpio.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fputs("usage: hold-line CHIP LINE PROGRAM [ARGUMENT]...\n", stderr);
        return 99;
    }
    gpio_v2_line_request request{};
    request.offsets[0] = static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10));
    request.num_lines = 1;
    request.config.flags = GPIO_V2_LINE_FLAG_INPUT;
    std::strcpy(request.consumer, "switch-querier test");
    // The line is held until its descriptor is closed, which the program does by its end.
    if (ioctl(open(argv[1], O_RDWR | O_CLOEXEC), GPIO_V2_GET_LINE_IOCTL, &request) != 0 ||
        fcntl(request.fd, F_SETFD, 0) != 0) {
        std::perror("hold-line");
        return 99;
    }
    execv(argv[3], argv + 3);
    std::perror(argv[3]);
    return 99;
}
