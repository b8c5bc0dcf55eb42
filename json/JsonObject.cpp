// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonObject.h"

#include <utility>

void storeMember(JsonObject& object, std::string key, JsonValue value)
{
    auto place = object.lower_bound(key);
    if (place == object.end() || place->first != key) {
        place = object.emplace_hint(place, key, JsonMember());
    }
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
