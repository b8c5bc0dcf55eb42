// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// Linked with --wrap=fsync (ld(1)) in place of fsync(2): a program that syncs less than it should,
// which the power cuts must detect. LEFT_OUT in the environment has the letters of the missing
// syncs: t for the temporary file, f for its directory, n for the file under its new name.

#include <sys/stat.h>

#include <cstdlib>
#include <cstring>

extern "C" {
int __real_fsync(int descriptor);  // NOLINT(bugprone-reserved-identifier)
int __wrap_fsync(int descriptor);  // NOLINT(bugprone-reserved-identifier)
}

int __wrap_fsync(int descriptor)
{
    static char nextFile = 't';
    struct stat status = {};
    char letter = 'f';
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        letter = nextFile;
        nextFile = 'n';
    }
    const char* const leftOut = std::getenv("LEFT_OUT");
    return leftOut != nullptr && std::strchr(leftOut, letter) != nullptr ? 0
                                                                         : __real_fsync(descriptor);
}
