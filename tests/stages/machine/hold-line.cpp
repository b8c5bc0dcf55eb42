// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// hold-line CHIP LINE PROGRAM [ARGUMENT]...
// Runs the program while another user has the line of the chip.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tests/stages/machine/HeldLine.h"

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fputs("usage: hold-line CHIP LINE PROGRAM [ARGUMENT]...\n", stderr);
        return 99;
    }
    const int held = holdLine(argv[1], static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)));
    if (held < 0 || fcntl(held, F_SETFD, 0) != 0) {
        std::perror("hold-line");
        return 99;
    }
    execv(argv[3], argv + 3);
    std::perror(argv[3]);
    return 99;
}
