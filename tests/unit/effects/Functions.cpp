// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>

#include "tests/unit/effects/Effects.h"

// Each of the functions below does what the C library's does, through the system call or a function
// that is not replaced.

namespace {

using std::chrono::nanoseconds;

std::string nameOf(int error)
{
    const char* const name = strerrorname_np(error);
    return name != nullptr ? name : std::to_string(error);
}

template <typename Timespec = timespec>
Timespec timespecOf(nanoseconds time)
{
    constexpr std::int64_t second = 1'000'000'000;
    Timespec split{};
    split.tv_sec = static_cast<decltype(split.tv_sec)>(time.count() / second);
    split.tv_nsec = static_cast<decltype(split.tv_nsec)>(time.count() % second);
    return split;
}

/// A call of such a function. If the code under test made it, it has an effect; otherwise, or in
/// the meantime, the functions are the C library's.
class Call : public Effects::Pause {
public:
    /// Does what the C library's function does. A negative result is a failure, and errno says
    /// which.
    using Action = std::function<long()>;

    long perform(const std::string& effect, const Action& action) const
    {
        if (!wasActive) {
            return action();
        }
        const long result = attempt(effect, action);
        const int error = errno;
        Effects::current->add(result < 0 ? effect + ": " + nameOf(error) : effect);
        errno = error;
        return result;
    }

    /// Reads or writes bytes at an offset of a file, -1 if it has none. The result is their number.
    ssize_t transfer(const char* verb, int descriptor, off_t offset, const void* bytes,
                     const Action& action) const
    {
        static off_t lastEnd = 0;
        if (!wasActive || !Effects::current->paths.contains(descriptor)) {
            return action();
        }
        const std::string effect = std::string(verb) + " " + pathOf(descriptor);
        const ssize_t count = attempt(effect, action);
        const int error = errno;
        if (count < 0) {
            Effects::current->add(effect + ": " + nameOf(error));
        } else if (count > 0) {
            const bool continues = offset < 0 || offset == lastEnd;
            Effects::current->add(
                effect, {static_cast<const char*>(bytes), static_cast<std::size_t>(count)},
                continues && !effect.starts_with("write /sys/"));
            lastEnd = offset + count;
        }
        errno = error;
        return count;
    }

    /// Opens a file. The result is its descriptor.
    int open(const std::string& effect, const Effects::Opening& opening, const Action& action) const
    {
        const auto descriptor = static_cast<int>(perform(effect, action));
        if (wasActive) {
            Effects::current->openings.push_back(opening);
            Effects::current->openings.back().descriptor = descriptor;
        }
        if (wasActive && descriptor >= 0) {
            Effects::current->paths[descriptor] = opening.path;
        }
        return descriptor;
    }

    int close(int descriptor) const
    {
        const auto result = static_cast<int>(syscall(SYS_close, descriptor));
        const int error = errno;
        if (wasActive) {
            Effects::current->closings.push_back(descriptor);
        }
        if (wasActive && descriptor >= 0 && result != 0) {
            Effects::current->add("close " + pathOf(descriptor) + ": " + nameOf(error));
        }
        errno = error;
        return result;
    }

    /// As nanosleep(2).
    int wait(const timespec& request, timespec* remaining) const
    {
        if (!wasActive) {
            errno = clock_nanosleep(CLOCK_REALTIME, 0, &request, remaining);
            return errno == 0 ? 0 : -1;
        }
        std::array<char, 40> effect{};
        std::snprintf(effect.data(), effect.size(), "wait %lld.%09lld",
                      static_cast<long long>(request.tv_sec),
                      static_cast<long long>(request.tv_nsec));
        return static_cast<int>(perform(effect.data(), [&] {
            const Effects::WaitEnd end = Effects::current->wait(
                std::chrono::seconds(request.tv_sec) + nanoseconds(request.tv_nsec));
            if (end.error == EINTR && remaining != nullptr) {
                *remaining = timespecOf(end.left);
            }
            if (end.error == 0) {
                return 0;
            }
            errno = end.error;
            return -1;
        }));
    }

    /// As clock_gettime(2), which is the system call of this number.
    template <typename Timespec>
    int readClock(long number, clockid_t clock, Timespec* time) const
    {
        if (!wasActive) {
            return static_cast<int>(syscall(number, clock, time));
        }
        *time = timespecOf<Timespec>(clock == CLOCK_REALTIME ? Effects::current->systemTime
                                                             : Effects::current->steadyTime);
        return 0;
    }

    /// The path that a descriptor was opened by.
    [[nodiscard]] std::string pathOf(int descriptor) const
    {
        return wasActive ? Effects::current->paths[descriptor] : "";
    }

private:
    /// Does something, unless it is to fail.
    static long attempt(const std::string& effect, const Action& action)
    {
        const int error = Effects::current->before(effect);
        if (error == 0) {
            return action();
        }
        errno = error;
        return error == Effects::writesNothing ? 0 : -1;
    }
};

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
    return call.open(openingOf(directory, path, flags), {path, flags, -1, streamMode}, [=] {
        return syscall(SYS_openat, directory, path, flags | O_LARGEFILE, mode);
    });
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

/// A stream whose reads and writes are the functions below: a C library's streams call its own.
FILE* streamOf(int descriptor, const char* mode)
{
    const Effects::Pause pause;
    if (!pause.wasActive) {
        return fdopen(descriptor, mode);
    }
    auto* const cookie = new int(descriptor);
    cookie_io_functions_t functions{};
    functions.read = [](void* file, char* buffer, size_t size) {
        return read(*static_cast<int*>(file), buffer, size);
    };
    functions.write = [](void* file, const char* bytes, size_t size) {
        return std::max(ssize_t{0}, write(*static_cast<int*>(file), bytes, size));
    };
    functions.seek = [](void* file, off64_t* position, int origin) {
        *position = lseek64(*static_cast<int*>(file), *position, origin);
        return *position < 0 ? -1 : 0;
    };
    functions.close = [](void* file) {
        const int toClose = *static_cast<int*>(file);
        delete static_cast<int*>(file);
        return close(toClose);
    };
    FILE* const stream = fopencookie(cookie, mode, functions);
    stream->_fileno = descriptor;  // else fileno(3) refuses it
    return stream;
}

FILE* openStream(const char* path, const char* mode)
{
    constexpr mode_t everybody = 0666;
    const int descriptor = openFile(AT_FDCWD, path, flagsOf(mode), everybody, mode);
    return descriptor < 0 ? nullptr : streamOf(descriptor, mode);
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

/// Does what has an effect with this verb and path.
template <typename Action>
int onPath(const char* verb, std::string_view path, const Action& action)
{
    const Call call;
    return static_cast<int>(call.perform(std::string(verb).append(path), action));
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
    return call.close(descriptor);
}

ssize_t read(int descriptor, void* buffer, size_t size)
{
    const Call call;
    return call.transfer("read", descriptor, offsetOf(descriptor), buffer,
                         [=] { return syscall(SYS_read, descriptor, buffer, size); });
}

// What open and read are with _FORTIFY_SOURCE (feature_test_macros(7)), if the compiler cannot tell
// that there is nothing to check.
int openFortified(const char* path, int flags) __asm__("__open_2");
ssize_t readFortified(int descriptor, void* buffer, size_t size,
                      size_t capacity) __asm__("__read_chk");

int openFortified(const char* path, int flags)
{
    return openFile(AT_FDCWD, path, flags, 0);
}

ssize_t readFortified(int descriptor, void* buffer, size_t size, size_t /*capacity*/)
{
    return read(descriptor, buffer, size);
}

ssize_t pread(int descriptor, void* buffer, size_t size, off_t offset)
{
    const Call call;
    return call.transfer("read", descriptor, offset, buffer, [=] {
        const iovec part{buffer, size};
        return preadv(descriptor, &part, 1, offset);
    });
}

ssize_t write(int descriptor, const void* bytes, size_t size)
{
    const Call call;
    return call.transfer("write", descriptor, offsetOf(descriptor), bytes,
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

int renameat(int fromDirectory, const char* from, int toDirectory, const char* to) noexcept
{
    const Call call;
    return static_cast<int>(call.perform(std::string("rename ") + from + " " + to, [=] {
        return syscall(SYS_renameat2, fromDirectory, from, toDirectory, to, 0);
    }));
}

int rename(const char* from, const char* to) noexcept
{
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

int unlink(const char* path) noexcept
{
    return onPath("remove ", path, [=] { return unlinkat(AT_FDCWD, path, 0); });
}

int access(const char* path, int mode) noexcept
{
    return onPath("look for ", path, [=] { return faccessat(AT_FDCWD, path, mode, 0); });
}

int stat(const char* path, struct stat* status) noexcept
{
    return onPath("look for ", path, [=] { return fstatat(AT_FDCWD, path, status, 0); });
}

int lstat(const char* path, struct stat* status) noexcept
{
    return onPath("look for ", path,
                  [=] { return fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW); });
}

int nanosleep(const timespec* request, timespec* remaining)
{
    const Call call;
    return call.wait(*request, remaining);
}

int usleep(useconds_t microseconds)
{
    const Call call;
    return call.wait(timespecOf(std::chrono::microseconds(microseconds)), nullptr);
}

#ifdef SYS_clock_gettime64  // on 32 bits, where the C++ library may still ask for the time in 32
struct Timespec32 {
    std::int32_t tv_sec;
    std::int32_t tv_nsec;
};

int clockGettime32(clockid_t clock, Timespec32* time) noexcept __asm__("clock_gettime");

int clockGettime32(clockid_t clock, Timespec32* time) noexcept
{
    const Call call;
    return call.readClock(SYS_clock_gettime, clock, time);
}

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const Call call;
    return call.readClock(SYS_clock_gettime64, clock, time);
}
#else
int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const Call call;
    return call.readClock(SYS_clock_gettime, clock, time);
}
#endif

}  // extern "C"
