// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <iostream>
#include <string>

static_assert(std::endian::native == std::endian::little, "numbers go as they lie in memory");

/// Writes a number to standard output, little-endian, all its bytes.
template <typename Number>
void writeNumber(Number number)
{
    const auto bytes = std::bit_cast<std::array<char, sizeof(Number)>>(number);
    std::cout.write(bytes.data(), bytes.size());
}

/// Writes a text to standard output: its length in 32 bits, then its bytes.
inline void writeText(const std::string& text)
{
    writeNumber(static_cast<std::uint32_t>(text.size()));
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
}

/// Reads a text in the same form from standard input. False at the end of the input.
inline bool readText(std::string& text)
{
    std::array<char, sizeof(std::uint32_t)> length{};
    if (!std::cin.read(length.data(), length.size())) {
        return false;
    }
    text.resize(std::bit_cast<std::uint32_t>(length));
    return static_cast<bool>(std::cin.read(text.data(), static_cast<std::streamsize>(text.size())));
}
