// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cstdio>

#include "json/JsonObject.h"

int useEachMember(JsonObject& object, const JsonObject& other);

int main()
{
    JsonObject object;
    const JsonObject other;
    // Of two empty objects: empty, no members twice, neither finds nor erases "a".
    const int sum = useEachMember(object, other);
    if (sum != 5) {
        std::printf("%d, not 5\n", sum);
        return 1;
    }
    return 0;
}
