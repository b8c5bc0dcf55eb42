// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/JsonValue.h"

namespace {

/// The numbers below the count, each once.
std::vector<std::uint64_t> makeNumbers(std::string_view order, std::uint64_t count)
{
    std::vector<std::uint64_t> numbers(count);
    std::uint64_t state = 1;
    for (std::uint64_t index = 0; index < count; ++index) {
        numbers[index] = order == "descending" ? count - 1 - index : index;
        if (order == "random") {
            state = state * 6364136223846793005U + 1442695040888963407U;
            std::swap(numbers[index], numbers[(state >> 33U) % (index + 1)]);
        }
    }
    return numbers;
}

std::vector<JsonMember> makeMembers(std::string_view order, std::uint64_t count)
{
    std::vector<JsonMember> members;
    members.reserve(count);
    for (const std::uint64_t number : makeNumbers(order, count)) {
        members.push_back({"k" + std::to_string(1'000'000 + number), JsonValue()});
    }
    return members;
}

}  // namespace

// Makes members and, in one of the ways, an object or a map of them, so that the instructions of
// the way are those of the program less those of "none".
// "merge" makes two objects of half the members each and merges the second into the first.
// usage: building none|insertOrAssign|fromMembers|merge|map ascending|descending|random COUNT
int main(int argc, char** argv)
{
    if (argc != 4) {
        return 2;
    }
    const std::string_view way = argv[1];
    const std::uint64_t count = std::strtoull(argv[3], nullptr, 10);
    std::vector<JsonMember> members = makeMembers(argv[2], count);
    JsonObject object;
    std::map<std::string, JsonValue, std::less<>> map;
    if (way == "none") {
        return 0;
    }
    if (way == "fromMembers") {
        object = JsonObject::fromMembers(members);
    }
    if (way == "merge") {
        const std::span<JsonMember> all(members);
        object = JsonObject::fromMembers(all.first(count / 2));
        object.merge(JsonObject::fromMembers(all.subspan(count / 2)));
    }
    for (JsonMember& member : members) {
        if (way == "insertOrAssign") {
            object.insertOrAssign(member.name, std::move(member.value));
        } else if (way == "map") {
            map.insert_or_assign(member.name, std::move(member.value));
        }
    }
    return object.size() + map.size() == count ? 0 : 1;
}
