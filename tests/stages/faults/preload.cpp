// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// Preloaded between the program and its C library, this fails calls that no tracer can. The
// environment says which: those of the kind FAULT_KIND, from number FAULT_FIRST to number
// FAULT_LAST.
//    allocation   gets no memory; operator new gets its memory here too
//    transfer     reads or writes one byte of those requested; the C library's own streams, such as
//                 the console's, do not call these functions
// The number of calls of the kind is written to FAULT_COUNT_FILE at the program's end.

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// The C library's own, under the names that it has for those who replace them.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

long calls = 0;

/// Counts a call of this kind, and returns whether it is to fail.
bool fails(std::string_view kind)
{
    // The dynamic linker allocates before there is an environment; that is not the program.
    if (environ == nullptr || std::getenv("FAULT_KIND") != kind) {
        return false;
    }
    ++calls;
    return std::atol(std::getenv("FAULT_FIRST")) <= calls &&
           calls <= std::atol(std::getenv("FAULT_LAST"));
}

bool allocationFails()
{
    if (!fails("allocation")) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

std::size_t shortened(std::size_t count)
{
    return fails("transfer") ? std::min<std::size_t>(count, 1) : count;
}

[[gnu::destructor]] void writeCount()
{
    char digits[20];
    const int size = std::snprintf(digits, sizeof digits, "%ld", calls);
    const int fd =
        open(std::getenv("FAULT_COUNT_FILE"), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    syscall(SYS_write, fd, digits, static_cast<std::size_t>(size));
    close(fd);
}

}  // namespace

extern "C" {

void* malloc(std::size_t size)
{
    return allocationFails() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    return allocationFails() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size)
{
    return allocationFails() ? nullptr : __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return allocationFails() ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size)
{
    *memory = aligned_alloc(alignment, size);
    return *memory != nullptr ? 0 : ENOMEM;
}

ssize_t read(int fd, void* bytes, std::size_t count)
{
    return syscall(SYS_read, fd, bytes, shortened(count));
}

ssize_t write(int fd, const void* bytes, std::size_t count)
{
    return syscall(SYS_write, fd, bytes, shortened(count));
}

ssize_t writev(int fd, const iovec* parts, int count)
{
    if (!fails("transfer")) {
        return syscall(SYS_writev, fd, parts, count);
    }
    const iovec* const part = std::find_if(
        parts, parts + count, [](const iovec& candidate) { return candidate.iov_len != 0; });
    return part == parts + count ? 0 : syscall(SYS_write, fd, part->iov_base, std::size_t{1});
}
}
