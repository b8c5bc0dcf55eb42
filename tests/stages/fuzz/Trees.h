// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

#include "json/JsonValue.h"

// What the oracles ask about a tree, and the product does not offer.

/// Whether both hold the same. Numbers are alike bit by bit, which tells -0.0 from 0.0; of those
/// that are none only the sign counts.
bool alike(const JsonObject& left, const JsonObject& right);

/// How many objects and arrays stand inside each other, the outermost one among them.
std::size_t depthOf(const JsonObject& object);

/// Calls the function with each value in the tree, those inside others too.
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
