// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>

#include "tests/unit/calls/Calls.h"

// The functions that ask about a file by its name or change what a directory shows of it. The
// product needs one of them, rename(2); the others are here so that a transcript shows them.

namespace {

/// Makes the system call, and notes its failure.
template <typename... Arguments>
int called(const std::string& line, long number, Arguments... arguments)
{
    note(line);
    const auto result = static_cast<int>(syscall(number, arguments...));
    return noted(result, result != 0);
}

}  // namespace

extern "C" {

int rename(const char* from, const char* to) noexcept
{
    const Calls::Inside inside;
    note(std::string("rename ") + from + " " + to);
    const int result = renameat(AT_FDCWD, from, AT_FDCWD, to);
    return noted(result, result != 0);
}

int access(const char* path, int mode) noexcept
{
    const Calls::Inside inside;
    return called("access " + std::string(path), SYS_faccessat, AT_FDCWD, path, mode);
}

int stat(const char* path, struct stat* status) noexcept
{
    const Calls::Inside inside;
    return called("stat " + std::string(path), SYS_newfstatat, AT_FDCWD, path, status, 0);
}

int lstat(const char* path, struct stat* status) noexcept
{
    const Calls::Inside inside;
    return called("lstat " + std::string(path), SYS_newfstatat, AT_FDCWD, path, status,
                  AT_SYMLINK_NOFOLLOW);
}

int unlink(const char* path) noexcept
{
    const Calls::Inside inside;
    return called("unlink " + std::string(path), SYS_unlinkat, AT_FDCWD, path, 0);
}

int chmod(const char* path, mode_t mode) noexcept
{
    const Calls::Inside inside;
    return called("chmod " + std::string(path), SYS_fchmodat, AT_FDCWD, path, mode);
}

int fchmod(int descriptor, mode_t mode) noexcept
{
    const Calls::Inside inside;
    return called("fchmod " + std::to_string(descriptor), SYS_fchmod, descriptor, mode);
}

int chown(const char* path, uid_t user, gid_t group) noexcept
{
    const Calls::Inside inside;
    return called("chown " + std::string(path), SYS_fchownat, AT_FDCWD, path, user, group, 0);
}

int fchown(int descriptor, uid_t user, gid_t group) noexcept
{
    const Calls::Inside inside;
    return called("fchown " + std::to_string(descriptor), SYS_fchown, descriptor, user, group);
}

int link(const char* from, const char* to) noexcept
{
    const Calls::Inside inside;
    return called("link " + std::string(from) + " " + to, SYS_linkat, AT_FDCWD, from, AT_FDCWD, to,
                  0);
}

int symlink(const char* target, const char* path) noexcept
{
    const Calls::Inside inside;
    return called("symlink " + std::string(target) + " " + path, SYS_symlinkat, target, AT_FDCWD,
                  path);
}

int mkdir(const char* path, mode_t mode) noexcept
{
    const Calls::Inside inside;
    return called("mkdir " + std::string(path), SYS_mkdirat, AT_FDCWD, path, mode);
}

int truncate(const char* path, off_t size) noexcept
{
    const Calls::Inside inside;
    return called("truncate " + std::string(path), SYS_truncate, path, size);
}

int ftruncate(int descriptor, off_t size) noexcept
{
    const Calls::Inside inside;
    return called("ftruncate " + std::to_string(descriptor), SYS_ftruncate, descriptor, size);
}

int utimensat(int directory, const char* path, const timespec* times, int flags) noexcept
{
    const Calls::Inside inside;
    return called("utimensat " + std::string(path), SYS_utimensat, directory, path, times, flags);
}

int remove(const char* path) noexcept
{
    const Calls::Inside inside;
    note("remove " + std::string(path));
    long result = syscall(SYS_unlinkat, AT_FDCWD, path, 0);
    if (result != 0 && errno == EISDIR) {
        result = syscall(SYS_unlinkat, AT_FDCWD, path, AT_REMOVEDIR);
    }
    return noted(static_cast<int>(result), result != 0);
}

}  // extern "C"
