// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonObject.h"

#include <algorithm>
#include <utility>

#include "json/JsonValue.h"

namespace {

/// The order of members in an object, and of those with one name the order of their places.
constexpr auto precedes = [](const JsonMember* left, const JsonMember* right) {
    // Most names differ in their first byte, and to ask for that costs a fraction.
    const auto leftByte = static_cast<unsigned char>(left->name.c_str()[0]);
    const auto rightByte = static_cast<unsigned char>(right->name.c_str()[0]);
    if (leftByte != rightByte) {
        return leftByte < rightByte;
    }
    const int order = left->name.compare(right->name);
    return order != 0 ? order < 0 : left < right;
};

}  // namespace

JsonObject JsonObject::fromMembers(std::span<JsonMember> members)
{
    std::vector<JsonMember*> places(members.size());
    std::transform(members.begin(), members.end(), places.begin(),
                   [](JsonMember& member) { return &member; });
    std::sort(places.begin(), places.end(), precedes);
    JsonObject object;
    object.members.reserve(places.size());
    for (JsonMember* const place : places) {
        if (!object.empty() && object.members.back().name == place->name) {
            object.members.back() = std::move(*place);
        } else {
            object.members.push_back(std::move(*place));
        }
    }
    return object;
}

std::size_t JsonObject::lowerBound(std::string_view key) const
{
    const JsonMember* const place =
        std::lower_bound(begin(), end(), key, [](const JsonMember& member, std::string_view name) {
            return member.name < name;
        });
    return static_cast<std::size_t>(place - begin());
}

const JsonMember* JsonObject::find(std::string_view key) const
{
    const JsonMember* const place = begin() + lowerBound(key);
    return place != end() && place->name == key ? place : nullptr;
}

JsonMember* JsonObject::find(std::string_view key)
{
    // The object is writable, so the member inside it is too.
    return const_cast<JsonMember*>(static_cast<const JsonObject&>(*this).find(key));
}

JsonMember& JsonObject::operator[](std::string_view key)
{
    const std::size_t place = lowerBound(key);
    if (place == size() || members[place].name != key) {
        members.insert(members.begin() + static_cast<std::ptrdiff_t>(place),
                       JsonMember{std::string(key), JsonValue()});
    }
    return members[place];
}

void JsonObject::insertOrAssign(std::string_view key, JsonValue value)
{
    (*this)[key].value = std::move(value);
}

int JsonObject::erase(std::string_view key)
{
    const JsonMember* const member = find(key);
    if (member == nullptr) {
        return 0;
    }
    members.erase(members.begin() + (member - begin()));
    return 1;
}

void JsonObject::clear() noexcept
{
    members.clear();
}

void JsonObject::merge(const JsonObject& source)
{
    JsonObject copy(source);
    for (JsonMember& member : copy) {
        insertOrAssign(member.name, std::move(member.value));
    }
}
