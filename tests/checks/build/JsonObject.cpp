// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonObject.h"

#include <cstdio>
#include <utility>

// JsonMember is incomplete here on purpose: the header of JsonObject alone has to be enough to call
// each member.
int main()
{
    JsonObject object;
    const JsonObject other;
    JsonObject copy(other);
    JsonObject moved(std::move(copy));
    object = moved;
    object = std::move(moved);
    object.merge(JsonObject::fromMembers({}));
    object.merge(other);
    // Of two empty objects: empty, no members twice, neither finds nor erases "a".
    int sum = object.empty() && object.size() == 0 ? 1 : 0;
    sum += object.begin() == object.end() ? 1 : 0;
    sum += other.begin() == other.end() ? 1 : 0;
    sum += object.find("a") == other.find("a") ? 1 : 0;
    sum += object.erase("a") == 0 ? 1 : 0;
    object["b"];
    object.clear();
    std::printf("%d\n", sum);
    return sum == 5 ? 0 : 1;
}
