// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// Makes reads and writes transfer one byte of those requested. The C library's own streams, such as
// the console's, do not call these functions.

#include <sys/uio.h>

#include <algorithm>
#include <cstddef>

#include "tests/stages/faults/preload/Ordinal.h"

extern "C" {

ssize_t read(int fd, void* bytes, std::size_t count)
{
    return syscall(SYS_read, fd, bytes, isInjected() ? std::min<std::size_t>(count, 1) : count);
}

ssize_t write(int fd, const void* bytes, std::size_t count)
{
    return syscall(SYS_write, fd, bytes, isInjected() ? std::min<std::size_t>(count, 1) : count);
}

ssize_t writev(int fd, const iovec* parts, int count)
{
    if (!isInjected()) {
        return syscall(SYS_writev, fd, parts, count);
    }
    const iovec* const part = std::find_if(
        parts, parts + count, [](const iovec& candidate) { return candidate.iov_len != 0; });
    return part == parts + count ? 0 : syscall(SYS_write, fd, part->iov_base, std::size_t{1});
}
}
