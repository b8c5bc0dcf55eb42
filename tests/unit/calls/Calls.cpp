// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/calls/Calls.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

Calls* currentCalls = nullptr;

Calls::Calls()
{
    currentCalls = this;
}

Calls::~Calls()
{
    currentCalls = nullptr;
}

std::string Calls::record(const std::function<void()>& action)
{
    transcript.clear();
    recording = true;
    try {
        action();
    } catch (...) {
        recording = false;
        throw;
    }
    recording = false;
    return transcript;
}

int Calls::sleepAsAsked(const timespec* request, timespec* /*remaining*/)
{
    currentCalls->advance(durationOf(*request));
    return 0;
}

void Calls::advance(std::chrono::nanoseconds time)
{
    systemTime += time;
    steadyTime += time;
}

std::chrono::nanoseconds durationOf(const timespec& time)
{
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

void Calls::add(const std::string& line)
{
    if (recording && Inside::depth == 1) {
        const int error = errno;
        before(line);
        transcript += line + '\n';
        errno = error;
    }
}

void Calls::addToLine(const std::string& text)
{
    if (recording && Inside::depth == 1) {
        transcript.back() = ' ';
        transcript += text + '\n';
    }
}

std::string Calls::pathOf(int descriptor) const
{
    const auto found = paths.find(descriptor);
    return found != paths.end() ? found->second : "descriptor " + std::to_string(descriptor);
}

std::string quoted(const char* bytes, std::size_t size)
{
    constexpr std::size_t limit = 300;
    if (size > limit) {
        return std::to_string(size) + " bytes";
    }
    std::string text = "\"";
    for (const char byte : std::string_view(bytes, size)) {
        if (byte == '\n') {
            text += "\\n";
        } else if (static_cast<unsigned char>(byte) < 32) {
            text += "\\" + std::to_string(byte);
        } else {
            text += byte;
        }
    }
    return text + '"';
}

namespace {

void note(const std::string& line)
{
    if (currentCalls != nullptr) {
        currentCalls->add(line);
    }
}

/// Passes the result of a call on, after it was noted if it is a failure.
template <typename Result>
Result noted(Result result, bool failed)
{
    if (currentCalls != nullptr && failed) {
        const int error = errno;
        const char* const name = strerrorname_np(error);
        currentCalls->addToLine(std::string("= ") + (name != nullptr ? name : "failure"));
        errno = error;
    }
    return result;
}

/// Whether the code under test makes the call, not the recorder or a test's hook.
bool isOfTheTested()
{
    return currentCalls != nullptr && Calls::Inside::depth == 1;
}

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

bool hasOwnTime()
{
    return currentCalls != nullptr && !currentCalls->realTime;
}

timespec timespecOf(std::chrono::nanoseconds time)
{
    constexpr std::int64_t second = 1'000'000'000;
    timespec split{};
    split.tv_sec = time.count() / second;
    split.tv_nsec = time.count() % second;
    return split;
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

DIR* opendir(const char* path)
{
    const Calls::Inside inside;
    note(std::string("opendir ") + path);
    const auto descriptor = static_cast<int>(
        syscall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
    return noted(descriptor < 0 ? nullptr : fdopendir(descriptor), descriptor < 0);
}

int rename(const char* from, const char* to) noexcept
{
    const Calls::Inside inside;
    note(std::string("rename ") + from + " " + to);
    const int result = renameat(AT_FDCWD, from, AT_FDCWD, to);
    return noted(result, result != 0);
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

int usleep(useconds_t microseconds)
{
    const Calls::Inside inside;
    if (!hasOwnTime()) {
        const timespec request = timespecOf(std::chrono::microseconds(microseconds));
        return clock_nanosleep(CLOCK_REALTIME, 0, &request, nullptr);
    }
    note("usleep " + std::to_string(microseconds));
    currentCalls->advance(std::chrono::microseconds(microseconds));
    return 0;
}

int nanosleep(const timespec* request, timespec* remaining)
{
    const Calls::Inside inside;
    if (currentCalls != nullptr) {
        currentCalls->sleeps.push_back(*request);
    }
    if (!hasOwnTime()) {
        errno = clock_nanosleep(CLOCK_REALTIME, 0, request, remaining);
        return errno == 0 ? 0 : -1;
    }
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "nanosleep %lld.%09ld",
                  static_cast<long long>(request->tv_sec), request->tv_nsec);
    note(text.data());
    return currentCalls->sleep(request, remaining);
}

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const Calls::Inside inside;
    if (!hasOwnTime()) {
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    }
    const bool system = clock == CLOCK_REALTIME;
    note(system ? "system clock" : "clock " + std::to_string(clock));
    *time = timespecOf(system ? currentCalls->systemTime : currentCalls->steadyTime);
    return 0;
}

}  // extern "C"
