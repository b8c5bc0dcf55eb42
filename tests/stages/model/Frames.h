// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>

/// Writes a number to standard output in that many bytes, the lowest first, as two's complement.
inline void writeNumber(std::int64_t number, std::size_t size)
{
    auto rest = static_cast<std::uint64_t>(number);
    for (std::size_t i = 0; i < size; ++i) {
        std::cout.put(static_cast<char>(rest & 0xffU));
        rest >>= 8U;
    }
}

/// Writes a text to standard output: its length in 4 bytes, then its bytes.
inline void writeText(const std::string& text)
{
    writeNumber(static_cast<std::int64_t>(text.size()), 4);
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
}

/// Reads a text in the same form from standard input. False at the end of the input.
inline bool readText(std::string& text)
{
    std::size_t size = 0;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        size |= static_cast<std::size_t>(static_cast<unsigned char>(std::cin.get())) << shift;
    }
    if (!std::cin) {
        return false;
    }
    text.resize(size);
    return static_cast<bool>(std::cin.read(text.data(), static_cast<std::streamsize>(size)));
}
