// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonObject.h"

#include <utility>

void storeMember(JsonObject& object, std::string key, JsonValue value)
{
    // Keys often come in order, and then the place is at the end; else the hint costs a comparison.
    const auto place = object.try_emplace(object.end(), key);
    place->second.name = std::move(key);
    place->second.value = std::move(value);
}

int eraseMember(JsonObject& object, std::string_view key)
{
    const auto found = object.find(key);
    if (found == object.end()) {
        return 0;
    }
    object.erase(found);
    return 1;
}

void mergeObject(JsonObject& target, const JsonObject& source)
{
    JsonObject copy(source);
    for (auto& [key, member] : copy) {
        storeMember(target, std::move(member.name), std::move(member.value));
    }
}
