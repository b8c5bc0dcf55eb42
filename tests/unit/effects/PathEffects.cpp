// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "tests/unit/effects/Call.h"

// The functions that ask about a file by its name or change what a directory shows of it. The
// product needs one of them, to rename a file; the others are here so that they are recorded.

namespace {

/// Does what has an effect with this verb and these paths. Allocates nothing that would count as an
/// allocation of the code under test.
template <typename Action>
int onPath(const char* verb, const char* path, const Action& action, const char* other = nullptr)
{
    const Call call;
    const std::string effect = std::string(verb) + " " + path;
    return static_cast<int>(call.perform(other == nullptr ? effect : effect + " " + other, action));
}

/// Likewise, with the path of a file that is open.
template <typename Action>
int onDescriptor(const char* verb, int descriptor, const Action& action)
{
    const Call call;
    return static_cast<int>(
        call.perform(std::string(verb) + " " + call.pathOf(descriptor), action));
}

}  // namespace

extern "C" {

int renameat(int fromDirectory, const char* from, int toDirectory, const char* to) noexcept
{
    return onPath(
        "rename", from,
        [=] { return syscall(SYS_renameat2, fromDirectory, from, toDirectory, to, 0); }, to);
}

int rename(const char* from, const char* to) noexcept
{
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

int access(const char* path, int mode) noexcept
{
    return onPath("look for", path, [=] { return faccessat(AT_FDCWD, path, mode, 0); });
}

int stat(const char* path, struct stat* status) noexcept
{
    return onPath("look for", path, [=] { return fstatat(AT_FDCWD, path, status, 0); });
}

int lstat(const char* path, struct stat* status) noexcept
{
    return onPath("look for", path,
                  [=] { return fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW); });
}

int unlink(const char* path) noexcept
{
    return onPath("remove", path, [=] { return unlinkat(AT_FDCWD, path, 0); });
}

int remove(const char* path) noexcept
{
    return onPath("remove", path, [=] {
        const int result = unlinkat(AT_FDCWD, path, 0);
        return result != 0 && errno == EISDIR ? unlinkat(AT_FDCWD, path, AT_REMOVEDIR) : result;
    });
}

int link(const char* from, const char* to) noexcept
{
    return onPath(
        "link", from, [=] { return linkat(AT_FDCWD, from, AT_FDCWD, to, 0); }, to);
}

int symlink(const char* target, const char* path) noexcept
{
    return onPath(
        "symlink", target, [=] { return symlinkat(target, AT_FDCWD, path); }, path);
}

int mkdir(const char* path, mode_t mode) noexcept
{
    return onPath("make directory", path, [=] { return mkdirat(AT_FDCWD, path, mode); });
}

int chmod(const char* path, mode_t mode) noexcept
{
    return onPath("set mode of", path, [=] { return fchmodat(AT_FDCWD, path, mode, 0); });
}

int fchmod(int descriptor, mode_t mode) noexcept
{
    return onDescriptor("set mode of", descriptor,
                        [=] { return syscall(SYS_fchmod, descriptor, mode); });
}

int chown(const char* path, uid_t user, gid_t group) noexcept
{
    return onPath("set owner of", path, [=] { return fchownat(AT_FDCWD, path, user, group, 0); });
}

int fchown(int descriptor, uid_t user, gid_t group) noexcept
{
    return onDescriptor("set owner of", descriptor,
                        [=] { return fchownat(descriptor, "", user, group, AT_EMPTY_PATH); });
}

int truncate(const char* path, off_t size) noexcept
{
    return onPath("set size of", path,
                  [=] { return syscall(SYS_truncate, path, static_cast<long>(size)); });
}

int ftruncate(int descriptor, off_t size) noexcept
{
    return onDescriptor("set size of", descriptor, [=] {
        return syscall(SYS_ftruncate, descriptor, static_cast<long>(size));
    });
}

int utimensat(int directory, const char* path, const timespec* times, int flags) noexcept
{
    return onPath("set times of", path,
                  [=] { return syscall(SYS_utimensat, directory, path, times, flags); });
}

}  // extern "C"
