// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <string>

/// A pipe that receives an output of the program.
class Pipe {
public:
    Pipe();
    ~Pipe();
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    /// In the new process: makes the end for writing its descriptor of this number.
    void become(int descriptor) const;

    /// Writes until it takes no more. Returns what it holds.
    std::string fill();

    /// Reads so many bytes, or fewer at the end.
    [[nodiscard]] std::string take(std::size_t size) const;

    /// After the program has ended: reads all that is left.
    std::string takeRest();

    void closeReadingEnd() { closeEnd(0); }

private:
    void closeEnd(std::size_t end);

    std::array<int, 2> ends{};
};
