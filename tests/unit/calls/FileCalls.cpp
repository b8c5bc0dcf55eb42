// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <dirent.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "tests/unit/calls/Calls.h"

namespace {

int failedWith(int error)
{
    errno = error;
    return noted(-1, true);
}

std::string nameOf(int descriptor)
{
    return currentCalls == nullptr ? std::string() : currentCalls->pathOf(descriptor);
}

void forget(int descriptor)
{
    if (currentCalls != nullptr) {
        currentCalls->isClosed(descriptor);
    }
}

std::string flagNames(int flags)
{
    struct Flag {
        int bit;
        const char* name;
    };
    constexpr std::array<Flag, 8> known = {{{O_CREAT, "O_CREAT"},
                                            {O_TRUNC, "O_TRUNC"},
                                            {O_APPEND, "O_APPEND"},
                                            {O_EXCL, "O_EXCL"},
                                            {O_CLOEXEC, "O_CLOEXEC"},
                                            {O_NONBLOCK, "O_NONBLOCK"},
                                            {O_NOCTTY, "O_NOCTTY"},
                                            {O_SYNC, "O_SYNC"}}};
    constexpr std::array<const char*, 4> access = {"O_RDONLY", "O_WRONLY", "O_RDWR", "O_ACCMODE"};
    std::string text = access.at(static_cast<std::size_t>(flags & O_ACCMODE));
    int rest = flags & ~O_ACCMODE;
    for (const Flag& flag : known) {
        if ((rest & flag.bit) == flag.bit) {
            text += std::string("|") + flag.name;
            rest &= ~flag.bit;
        }
    }
    return rest == 0 ? text : text + "|" + std::to_string(rest);
}

int openFile(const char* path, int flags, mode_t mode)
{
    const auto descriptor = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    if (currentCalls != nullptr && descriptor >= 0) {
        currentCalls->isOpen(path, descriptor);
    }
    return noted(descriptor, descriptor < 0);
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
    constexpr mode_t everybody = 0666;
    note(std::string("fopen ") + path + " " + mode);
    const int descriptor = openFile(path, flagsOf(mode), everybody);
    return descriptor < 0 ? nullptr : fdopen(descriptor, mode);
}

off_t seek(int descriptor, off_t offset, int whence)
{
    // Where a stream stands it asks as often as it likes.
    if (whence == SEEK_CUR && offset == 0) {
        return syscall(SYS_lseek, descriptor, offset, whence);
    }
    constexpr std::array<const char*, 3> origins = {"start", "current", "end"};
    note("lseek " + nameOf(descriptor) + " " + origins.at(static_cast<std::size_t>(whence)) +
         (offset == 0 ? "" : " " + std::to_string(offset)));
    const off_t position = syscall(SYS_lseek, descriptor, offset, whence);
    return noted(position, position < 0);
}

}  // namespace

// Each of these does what the original does, through the system call or a function that is not
// replaced.
extern "C" {

int open(const char* path, int flags, ...)
{
    const Calls::Inside inside;
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    note(std::string("open ") + path + " " + flagNames(flags));
    if (!isOfTheTested()) {
        return openFile(path, flags, mode);
    }
    if (const int error = currentCalls->opening(path, flags); error != 0) {
        return failedWith(error);
    }
    const int descriptor = openFile(path, flags, mode);
    currentCalls->opened(path, descriptor);
    return descriptor;
}

int close(int descriptor)
{
    const Calls::Inside inside;
    note("close " + nameOf(descriptor));
    forget(descriptor);
    const auto result = static_cast<int>(syscall(SYS_close, descriptor));
    return noted(result, result != 0);
}

ssize_t read(int descriptor, void* buffer, size_t size)
{
    const Calls::Inside inside;
    note("read " + nameOf(descriptor));
    if (const int error = isOfTheTested() ? currentCalls->reading(descriptor) : 0; error != 0) {
        return failedWith(error);
    }
    const ssize_t count = syscall(SYS_read, descriptor, buffer, size);
    if (currentCalls != nullptr && count >= 0) {
        currentCalls->addToLine(
            quoted(static_cast<const char*>(buffer), static_cast<std::size_t>(count)));
    }
    return noted(count, count < 0);
}

ssize_t write(int descriptor, const void* bytes, size_t size)
{
    const Calls::Inside inside;
    note("write " + nameOf(descriptor) + " " + quoted(static_cast<const char*>(bytes), size));
    if (const int error = isOfTheTested() ? currentCalls->writing(descriptor) : 0; error != 0) {
        return error == Calls::writesNothing ? 0 : failedWith(error);
    }
    const ssize_t count = syscall(SYS_write, descriptor, bytes, size);
    return noted(count, count < 0);
}

ssize_t writev(int descriptor, const iovec* parts, int partCount)
{
    const Calls::Inside inside;
    std::string bytes;
    for (int part = 0; part < partCount; ++part) {
        bytes.append(static_cast<const char*>(parts[part].iov_base), parts[part].iov_len);
    }
    note("write " + nameOf(descriptor) + " " + quoted(bytes.data(), bytes.size()));
    const ssize_t count = syscall(SYS_writev, descriptor, parts, partCount);
    return noted(count, count < 0);
}

off_t lseek(int descriptor, off_t offset, int whence) noexcept
{
    const Calls::Inside inside;
    return seek(descriptor, offset, whence);
}

off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept
{
    const Calls::Inside inside;
    return seek(descriptor, offset, whence);
}

FILE* fopen(const char* path, const char* mode)
{
    const Calls::Inside inside;
    return openStream(path, mode);
}

FILE* fopen64(const char* path, const char* mode)
{
    const Calls::Inside inside;
    return openStream(path, mode);
}

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the library's own name
int _IO_fclose(FILE* stream);

int fclose(FILE* stream)
{
    const Calls::Inside inside;
    const int descriptor = fileno(stream);
    note("fclose " + nameOf(descriptor));
    forget(descriptor);
    const int result = _IO_fclose(stream);
    return noted(result, result != 0);
}

int isatty(int descriptor) noexcept
{
    const Calls::Inside inside;
    note("isatty " + nameOf(descriptor));
    termios settings{};
    return syscall(SYS_ioctl, descriptor, TCGETS, &settings) == 0 ? 1 : 0;
}

DIR* opendir(const char* path)
{
    const Calls::Inside inside;
    note(std::string("opendir ") + path);
    const auto descriptor = static_cast<int>(
        syscall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
    return noted(descriptor < 0 ? nullptr : fdopendir(descriptor), descriptor < 0);
}

int fsync(int descriptor)
{
    const Calls::Inside inside;
    note("fsync " + nameOf(descriptor));
    if (const int error = isOfTheTested() ? currentCalls->syncing(descriptor) : 0; error != 0) {
        return failedWith(error);
    }
    const auto result = static_cast<int>(syscall(SYS_fsync, descriptor));
    return noted(result, result != 0);
}

int fdatasync(int descriptor)
{
    const Calls::Inside inside;
    note("fdatasync " + nameOf(descriptor));
    const auto result = static_cast<int>(syscall(SYS_fdatasync, descriptor));
    return noted(result, result != 0);
}

int syncfs(int descriptor) noexcept
{
    const Calls::Inside inside;
    note("syncfs " + nameOf(descriptor));
    const auto result = static_cast<int>(syscall(SYS_syncfs, descriptor));
    return noted(result, result != 0);
}

void sync() noexcept
{
    const Calls::Inside inside;
    note("sync");
    syscall(SYS_sync);
}

}  // extern "C"
