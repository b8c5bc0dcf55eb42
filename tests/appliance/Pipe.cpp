// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/appliance/Pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

Pipe::Pipe()
{
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        std::perror("pipe2");
        std::abort();
    }
}

Pipe::~Pipe()
{
    closeEnd(0);
    closeEnd(1);
}

void Pipe::become(int descriptor) const
{
    dup2(ends[1], descriptor);
}

std::string Pipe::fill()
{
    std::string text;
    fcntl(ends[1], F_SETFL, O_NONBLOCK);
    while (write(ends[1], "x", 1) == 1) {
        text += 'x';
    }
    fcntl(ends[1], F_SETFL, 0);
    return text;
}

std::string Pipe::take(std::size_t size) const
{
    std::string text(size, '\0');
    std::size_t count = 0;
    while (count < size) {
        const ssize_t some = read(ends[0], text.data() + count, size - count);
        if (some <= 0) {
            break;
        }
        count += static_cast<std::size_t>(some);
    }
    return text.substr(0, count);
}

std::string Pipe::takeRest()
{
    closeEnd(1);
    return take(100'000);
}

void Pipe::closeEnd(std::size_t end)
{
    if (ends.at(end) >= 0) {
        close(ends.at(end));
    }
    ends.at(end) = -1;
}
