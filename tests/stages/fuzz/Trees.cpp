// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/fuzz/Trees.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace {

bool alikeNumbers(double left, double right)
{
    if (std::isnan(left) || std::isnan(right)) {
        return std::isnan(left) && std::isnan(right) && std::signbit(left) == std::signbit(right);
    }
    return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}

bool alikeValues(const JsonValue& left, const JsonValue& right)
{
    if (left.type() != right.type()) {
        return false;
    }
    switch (left.type()) {
    case JsonType::integer:
        return left.integer() == right.integer();
    case JsonType::real:
        return alikeNumbers(left.real(), right.real());
    case JsonType::boolean:
        return left.boolean() == right.boolean();
    case JsonType::string:
        return left.string() == right.string();
    case JsonType::object:
        return alike(left.object(), right.object());
    case JsonType::array:
        return std::equal(left.array().begin(), left.array().end(), right.array().begin(),
                          right.array().end(), alikeValues);
    default:
        return true;
    }
}

std::size_t depthOfValue(const JsonValue& value)
{
    if (value.type() == JsonType::object) {
        return depthOf(value.object());
    }
    if (value.type() != JsonType::array) {
        return 0;
    }
    std::size_t deepest = 0;
    for (const JsonValue& element : value.array()) {
        deepest = std::max(deepest, depthOfValue(element));
    }
    return deepest + 1;
}

}  // namespace

bool alike(const JsonObject& left, const JsonObject& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const JsonMember& one, const JsonMember& other) {
                          return one.name == other.name && alikeValues(one.value, other.value);
                      });
}

std::size_t depthOf(const JsonObject& object)
{
    std::size_t deepest = 0;
    for (const JsonMember& member : object) {
        deepest = std::max(deepest, depthOfValue(member.value));
    }
    return deepest + 1;
}
