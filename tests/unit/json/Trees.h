// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <utility>

#include "json/JsonParser.h"
#include "json/JsonValue.h"

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

bool operator==(const JsonValue& left, const JsonValue& right);

inline bool operator==(const JsonMember& left, const JsonMember& right)
{
    return left.name == right.name && left.value == right.value;
}

inline bool operator==(const JsonObject& left, const JsonObject& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
}

/// Doubles are alike bit by bit, which tells -0.0 from 0.0, unless both are not a number.
inline bool operator==(const JsonValue& left, const JsonValue& right)
{
    if (left.type() != right.type()) {
        return false;
    }
    switch (left.type()) {
    case JsonType::integer:
        return left.integer() == right.integer();
    case JsonType::real:
        return std::bit_cast<std::uint64_t>(left.real()) ==
                   std::bit_cast<std::uint64_t>(right.real()) ||
               (std::isnan(left.real()) && std::isnan(right.real()));
    case JsonType::boolean:
        return left.boolean() == right.boolean();
    case JsonType::string:
        return left.string() == right.string();
    case JsonType::object:
        return left.object() == right.object();
    case JsonType::array:
        return left.array() == right.array();
    default:
        return true;
    }
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
    *stream << shortName(value.type());
    switch (value.type()) {
    case JsonType::integer:
        *stream << ' ' << value.integer();
        break;
    case JsonType::real:
        *stream << ' ' << testing::PrintToString(value.real());
        break;
    case JsonType::boolean:
        *stream << ' ' << testing::PrintToString(value.boolean());
        break;
    case JsonType::string:
        *stream << ' ' << testing::PrintToString(value.string());
        break;
    case JsonType::object:
        *stream << ' ' << testing::PrintToString(value.object());
        break;
    case JsonType::array:
        *stream << ' ' << testing::PrintToString(value.array());
        break;
    default:
        break;
    }
}

inline void PrintTo(const JsonMember& member, std::ostream* stream)
{
    *stream << testing::PrintToString(member.name) << ": " << testing::PrintToString(member.value);
}
