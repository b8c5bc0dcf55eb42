// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <string_view>

/// A set of bytes. Membership is tested in constant time.
class ByteSet {
public:
    constexpr explicit ByteSet(std::string_view bytes)
    {
        for (const char byte : bytes) {
            add(byte);
        }
    }

    constexpr void add(char byte) { members[static_cast<unsigned char>(byte)] = true; }

    [[nodiscard]] constexpr bool contains(char byte) const
    {
        return members[static_cast<unsigned char>(byte)];
    }

private:
    std::array<bool, 256> members{};
};
