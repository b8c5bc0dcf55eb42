// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonValue.h"

#include <array>
#include <cstddef>
#include <utility>

const char* shortName(JsonType type) noexcept
{
    static constexpr std::array<const char*, 8> names = {"nul", "int", "dbl", "boo",
                                                         "str", "obj", "vec", "unk"};
    return names[static_cast<std::size_t>(type)];
}

JsonValue& JsonValue::operator=(const JsonValue& other)
{
    return *this = JsonValue(other);
}

JsonValue& JsonValue::operator=(JsonValue&& other) noexcept
{
    // Other may be a part of this value, which goes with the old content.
    auto taken = std::move(other.content);
    content = std::move(taken);
    return *this;
}
