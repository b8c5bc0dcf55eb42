// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/gpio/KernelCalls.h"

#include <cerrno>
#include <string_view>

namespace {

bool isValueFile(std::string_view path)
{
    return path.ends_with("/value");
}

}  // namespace

int KernelCalls::opening(const char* path, int flags)
{
    if (isValueFile(path)) {
        openFlags.push_back(flags);
        beforeOpen(openFlags.size());
        return openError;
    }
    return 0;
}

void KernelCalls::opened(const char* path, int opened)
{
    if (isValueFile(path)) {
        descriptor = opened;
    }
}

std::function<int(const timespec*, timespec*)>
interrupted(const std::vector<std::chrono::nanoseconds>& left)
{
    return [left, count = std::size_t{0}](const timespec* request, timespec* remaining) mutable {
        if (count == left.size()) {
            return Calls::sleepAsAsked(request, remaining);
        }
        *remaining = {0, static_cast<long>(left[count].count())};
        ++count;
        errno = EINTR;
        return -1;
    };
}
