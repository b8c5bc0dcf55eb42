// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// hold-line CHIP LINE PROGRAM [ARGUMENT]...
// Runs the program while the line of the chip, /dev/gpiochip0 say, is held, as by a driver.

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
    const int chip = open(argv[1], O_RDWR | O_CLOEXEC);
    gpio_v2_line_request request{};
    request.offsets[0] = static_cast<__u32>(std::strtoul(argv[2], nullptr, 10));
    request.num_lines = 1;
    request.config.flags = GPIO_V2_LINE_FLAG_INPUT;
    std::strncpy(request.consumer, "hold-line", sizeof request.consumer - 1);
    if (ioctl(chip, GPIO_V2_GET_LINE_IOCTL, &request) != 0 || fcntl(request.fd, F_SETFD, 0) != 0) {
        std::perror("hold-line");
        return 99;
    }
    execv(argv[3], argv + 3);
    std::perror(argv[3]);
    return 99;
}
