// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <utility>

#include "json/JsonParser.h"
#include "json/JsonValue.h"
#include "tests/dialect/Description.h"

// Trees as expressions: made in one line, compared whole, printed readably when a test fails.
// Nothing here goes through the operations under test other than the value's own setters.

inline JsonValue integer(std::int64_t content)
{
    JsonValue value;
    value.setInteger(content);
    return value;
}

inline JsonValue real(double content)
{
    JsonValue value;
    value.setReal(content);
    return value;
}

inline JsonValue boolean(bool content)
{
    JsonValue value;
    value.setBoolean(content);
    return value;
}

inline JsonValue string(std::string content)
{
    JsonValue value;
    value.setString(std::move(content));
    return value;
}

inline JsonValue array(std::initializer_list<JsonValue> elements)
{
    JsonValue value;
    value.setArray(JsonArray(elements));
    return value;
}

inline JsonObject members(std::initializer_list<std::pair<std::string, JsonValue>> list)
{
    JsonObject result;
    for (const auto& [key, value] : list) {
        result[key].value = value;
    }
    return result;
}

inline JsonValue object(std::initializer_list<std::pair<std::string, JsonValue>> list)
{
    JsonValue value;
    value.setObject(members(list));
    return value;
}

inline JsonValue unknown()
{
    JsonValue value;
    value.setUnknown();
    return value;
}

inline bool operator==(const JsonValue& left, const JsonValue& right)
{
    return describe(left) == describe(right);
}

inline bool operator==(const JsonObject& left, const JsonObject& right)
{
    return describe(left) == describe(right);
}

// GoogleTest finds these by the name.

inline void PrintTo(JsonType type, std::ostream* stream)
{
    *stream << shortName(type);
}

inline void PrintTo(JsonCode code, std::ostream* stream)
{
    *stream << static_cast<std::int32_t>(code);
}

inline void PrintTo(const JsonValue& value, std::ostream* stream)
{
    *stream << describe(value);
}

inline void PrintTo(const JsonObject& object, std::ostream* stream)
{
    *stream << describe(object);
}
