// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonValue.h"

#include <array>
#include <cstddef>
#include <memory>
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
    // Other may be the value itself or a part of it, which a reset would destroy.
    JsonValue taken(std::move(other));
    reset();
    take(std::move(taken));
    return *this;
}

template <typename Value>
void JsonValue::takePayload(Value&& other)
{
    switch (other.tag) {
    case JsonType::string:
        std::construct_at(&payload.string, std::forward<Value>(other).payload.string);
        break;
    case JsonType::object:
        std::construct_at(&payload.object, std::forward<Value>(other).payload.object);
        break;
    default:
        std::construct_at(&payload.array, std::forward<Value>(other).payload.array);
        break;
    }
}

template void JsonValue::takePayload(const JsonValue& other);
template void JsonValue::takePayload(JsonValue&& other);

void JsonValue::destroyPayload() noexcept
{
    switch (tag) {
    case JsonType::string:
        std::destroy_at(&payload.string);
        break;
    case JsonType::object:
        std::destroy_at(&payload.object);
        break;
    default:
        std::destroy_at(&payload.array);
        break;
    }
    payload.scalar = {};
}
