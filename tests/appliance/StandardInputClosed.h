// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <unistd.h>

/// Keeps descriptor 0 closed until destroyed, so that the next open(2) returns 0.
class StandardInputClosed {
public:
    StandardInputClosed() : kept(dup(STDIN_FILENO)) { close(STDIN_FILENO); }
    ~StandardInputClosed()
    {
        dup2(kept, STDIN_FILENO);
        close(kept);
    }
    StandardInputClosed(const StandardInputClosed&) = delete;
    StandardInputClosed& operator=(const StandardInputClosed&) = delete;

private:
    int kept;
};
