// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonObject.h"

#include <utility>

// JsonMember is incomplete here on purpose: this header alone has to be enough for these.
int useEachMember(JsonObject& object, const JsonObject& other)
{
    JsonObject copy(other);
    JsonObject moved(std::move(copy));
    object = moved;
    object = std::move(moved);
    object.merge(JsonObject::fromMembers({}));
    object.merge(other);
    int sum = object.empty() && object.size() == 0 ? 1 : 0;
    sum += object.begin() == object.end() ? 1 : 0;
    sum += other.begin() == other.end() ? 1 : 0;
    sum += object.find("a") == other.find("a") ? 1 : 0;
    sum += object.erase("a") == 0 ? 1 : 0;
    object["b"];
    object.clear();
    return sum;
}
