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

JsonValue::JsonValue(const JsonValue& other) : payload(other.payload)
{
    switch (other.tag) {
    case JsonType::string:
        payload.string = new std::string(other.string());
        break;
    case JsonType::object:
        payload.object = new JsonObject(other.object());
        break;
    case JsonType::array:
        payload.array = new JsonArray(other.array());
        break;
    default:
        break;
    }
    tag = other.tag;
}

JsonValue& JsonValue::operator=(const JsonValue& other)
{
    if (this == &other) {
        return *this;
    }
    // Other may be a part of this value, so it is copied whole before anything is released.
    switch (other.tag) {
    case JsonType::string:
        setString(other.string());
        break;
    case JsonType::object:
        setObject(other.object());
        break;
    case JsonType::array:
        setArray(other.array());
        break;
    default:
        *this = JsonValue(other);
        break;
    }
    return *this;
}

JsonValue& JsonValue::operator=(JsonValue&& other) noexcept
{
    // Other may be a part of this value, or the value itself: it is emptied before the release.
    JsonValue taken(std::move(other));
    std::swap(payload, taken.payload);
    std::swap(tag, taken.tag);
    return *this;
}

void JsonValue::setInteger(std::int64_t value) noexcept
{
    release();
    payload.integer = value;
    tag = JsonType::integer;
}

void JsonValue::setNumber(double value) noexcept
{
    release();
    payload.number = value;
    tag = JsonType::number;
}

void JsonValue::setBoolean(bool value) noexcept
{
    release();
    payload.boolean = value;
    tag = JsonType::boolean;
}

void JsonValue::setString(std::string value)
{
    if (tag == JsonType::string) {
        *payload.string = std::move(value);
        return;
    }
    auto* fresh = new std::string(std::move(value));
    release();
    payload.string = fresh;
    tag = JsonType::string;
}

void JsonValue::setObject(JsonObject value)
{
    if (tag == JsonType::object) {
        // Value may hold what was a part of the old content, never the other way round.
        payload.object->swap(value);
        return;
    }
    auto* fresh = new JsonObject(std::move(value));
    release();
    payload.object = fresh;
    tag = JsonType::object;
}

void JsonValue::setArray(JsonArray value)
{
    if (tag == JsonType::array) {
        payload.array->swap(value);
        return;
    }
    auto* fresh = new JsonArray(std::move(value));
    release();
    payload.array = fresh;
    tag = JsonType::array;
}

void JsonValue::setUnknown() noexcept
{
    reset();
    tag = JsonType::unknown;
}

void JsonValue::releaseOwned() noexcept
{
    switch (tag) {
    case JsonType::string:
        delete payload.string;
        break;
    case JsonType::object:
        delete payload.object;
        break;
    case JsonType::array:
        delete payload.array;
        break;
    default:
        break;
    }
}
