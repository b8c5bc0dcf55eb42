// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// Linked with --wrap=fsync (ld(1)) in place of fsync(2): a program that syncs less than it should,
// which a power cut must be seen to harm. The environment's LEFT_OUT has the numbers of the syncs
// that it leaves out, from 1.

#include <cstdlib>
#include <cstring>

extern "C" {
int __real_fsync(int descriptor);  // NOLINT(bugprone-reserved-identifier)
int __wrap_fsync(int descriptor);  // NOLINT(bugprone-reserved-identifier)
}

int __wrap_fsync(int descriptor)
{
    static char number = '0';
    ++number;
    const char* const leftOut = std::getenv("LEFT_OUT");
    const bool leaves = leftOut != nullptr && std::strchr(leftOut, number) != nullptr;
    return leaves ? 0 : __real_fsync(descriptor);
}
