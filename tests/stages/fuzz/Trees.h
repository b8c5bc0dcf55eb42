// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

#include "json/JsonValue.h"

// What the oracles need of a tree, and the product does not offer.

/// Whether both are the same. Doubles are compared bit by bit, so that -0.0 differs from 0.0; of
/// NaNs only the sign counts.
bool alike(const JsonObject& left, const JsonObject& right);

/// How deep objects and arrays are nested; 1 for an object without any.
std::size_t depthOf(const JsonObject& object);

/// Calls the function with each value in the tree, at any depth.
template <typename Function>
void forEachValue(JsonValue& value, const Function& function)
{
    function(value);
    if (value.type() == JsonType::object) {
        for (JsonMember& member : value.object()) {
            forEachValue(member.value, function);
        }
    } else if (value.type() == JsonType::array) {
        for (JsonValue& element : value.array()) {
            forEachValue(element, function);
        }
    }
}

template <typename Function>
void forEachValue(JsonObject& object, const Function& function)
{
    for (JsonMember& member : object) {
        forEachValue(member.value, function);
    }
}
