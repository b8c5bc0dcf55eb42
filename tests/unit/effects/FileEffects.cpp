// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "tests/unit/effects/Call.h"

// Each of these does what the original does, through the system call or a function that is not
// replaced.

namespace {

constexpr mode_t everybody = 0666;

std::string openingOf(int directory, const char* path, int flags)
{
    struct stat status = {};
    const bool exists = fstatat(directory, path, &status, 0) == 0;
    if ((flags & O_CREAT) != 0 && !exists) {
        return std::string("create ") + path;
    }
    const bool empties = (flags & O_TRUNC) != 0 && S_ISREG(status.st_mode) && status.st_size > 0;
    return std::string(empties ? "empty " : "look for ") + path;
}

int openFile(int directory, const char* path, int flags, mode_t mode, const char* streamMode = "")
{
    const Call call;
    return call.open(openingOf(directory, path, flags), {path, flags, -1, streamMode},
                     [=] { return syscall(SYS_openat, directory, path, flags, mode); });
}

/// The flags of open(2) for a mode of fopen(3).
int flagsOf(std::string_view mode)
{
    const bool update = mode.find('+') != std::string_view::npos;
    const int extra = mode.find('e') != std::string_view::npos ? O_CLOEXEC : 0;
    if (mode.starts_with("r")) {
        return extra | (update ? O_RDWR : O_RDONLY);
    }
    const int start = mode.starts_with("w") ? O_TRUNC : O_APPEND;
    return extra | start | O_CREAT | (update ? O_RDWR : O_WRONLY);
}

FILE* openStream(const char* path, const char* mode)
{
    const int descriptor = openFile(AT_FDCWD, path, flagsOf(mode), everybody, mode);
    return descriptor < 0 ? nullptr : fdopen(descriptor, mode);
}

/// The argument after the flags of open(2), which is there only with some of them.
mode_t modeIn(int flags, std::va_list arguments)
{
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

off_t offsetOf(int descriptor)
{
    return lseek(descriptor, 0, SEEK_CUR);
}

int synced(const char* verb, int descriptor, long number)
{
    const Call call;
    return static_cast<int>(
        call.perform(verb + call.pathOf(descriptor), [=] { return syscall(number, descriptor); }));
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...)
{
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = modeIn(flags, rest);
    va_end(rest);
    return openFile(AT_FDCWD, path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...)
{
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = modeIn(flags, rest);
    va_end(rest);
    return openFile(directory, path, flags, mode);
}

FILE* fopen(const char* path, const char* mode)
{
    return openStream(path, mode);
}

#ifndef __USE_FILE_OFFSET64  // else these are the names of those above
FILE* fopen64(const char* path, const char* mode)
{
    return openStream(path, mode);
}
#endif

DIR* opendir(const char* path)
{
    const int descriptor = openFile(AT_FDCWD, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    return descriptor < 0 ? nullptr : fdopendir(descriptor);
}

int close(int descriptor)
{
    const Call call;
    return call.close(descriptor, [=] { return syscall(SYS_close, descriptor); });
}

ssize_t read(int descriptor, void* buffer, size_t size)
{
    const Call call;
    return call.transfer("read", descriptor, offsetOf(descriptor), static_cast<char*>(buffer),
                         [=] { return syscall(SYS_read, descriptor, buffer, size); });
}

ssize_t pread(int descriptor, void* buffer, size_t size, off_t offset)
{
    const Call call;
    return call.transfer("read", descriptor, offset, static_cast<char*>(buffer), [=] {
        const iovec part{buffer, size};
        return preadv(descriptor, &part, 1, offset);
    });
}

ssize_t write(int descriptor, const void* bytes, size_t size)
{
    const Call call;
    return call.transfer("write", descriptor, offsetOf(descriptor), static_cast<const char*>(bytes),
                         [=] { return syscall(SYS_write, descriptor, bytes, size); });
}

ssize_t writev(int descriptor, const iovec* parts, int partCount)
{
    const Call call;
    std::string bytes;
    for (int part = 0; part < partCount; ++part) {
        bytes.append(static_cast<const char*>(parts[part].iov_base), parts[part].iov_len);
    }
    return call.transfer("write", descriptor, offsetOf(descriptor), bytes.data(),
                         [=] { return syscall(SYS_writev, descriptor, parts, partCount); });
}

int fsync(int descriptor)
{
    return synced("sync ", descriptor, SYS_fsync);
}

int fdatasync(int descriptor)
{
    return synced("sync the data of ", descriptor, SYS_fdatasync);
}

int syncfs(int descriptor) noexcept
{
    return synced("sync the file system of ", descriptor, SYS_syncfs);
}

void sync() noexcept
{
    const Call call;
    call.perform("sync everything", [] { return syscall(SYS_sync); });
}

}  // extern "C"
