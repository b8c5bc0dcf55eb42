// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "fileio/ReplacingFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

std::string temporaryNameOf(const std::string& finalName)
{
    return finalName + ".filsec";
}

std::string directoryOf(const std::string& name)
{
    const std::size_t slash = name.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return name.substr(0, slash + 1);
}

/// Syncs the file or directory of this name. A failure is not reported, not even in errno. A
/// standard stream does not expose its descriptor, so the name is opened again; whatever it then
/// refers to, the open must not block.
void syncBestEffort(const std::string& name)
{
    const int keptErrno = errno;
    const int fd = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
    errno = keptErrno;
}

}  // namespace

ReplacingFile::~ReplacingFile()
{
    // An exception that left the destructor would end the program.
    exceptions(std::ios::goodbit);
    static_cast<void>(finish());
}

std::int32_t ReplacingFile::open(const std::string& name)
{
    if (const std::int32_t code = finish(); code != 0) {
        return code;
    }
    finalName = name;
    std::ofstream::open(temporaryNameOf(finalName), std::ios::out | std::ios::binary);
    return is_open() ? 0 : -1;
}

std::int32_t ReplacingFile::finish()
{
    if (!is_open()) {
        return 0;
    }
    flush();
    const bool failed = fail();
    close();
    if (failed) {
        return 1;
    }
    // The contents before the rename: a file system may otherwise keep the rename and lose the
    // contents (ext4(5), noauto_da_alloc).
    const std::string temporaryName = temporaryNameOf(finalName);
    syncBestEffort(temporaryName);
    if (std::rename(temporaryName.c_str(), finalName.c_str()) != 0) {
        return -3;
    }
    // The file before its directory: on FAT the rename frees the old contents, and the final name
    // leads to the new ones only after the file is synced again.
    syncBestEffort(finalName);
    syncBestEffort(directoryOf(finalName));
    return 0;
}
