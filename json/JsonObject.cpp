// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonObject.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <utility>

#include "json/JsonValue.h"

namespace {

/// The order of members in an object; members with the same name keep the order of the text.
constexpr auto precedes = [](const JsonMember* left, const JsonMember* right) {
    // Most names differ in their first byte, which costs a fraction of a comparison of strings.
    const auto leftByte = static_cast<unsigned char>(left->name.c_str()[0]);
    const auto rightByte = static_cast<unsigned char>(right->name.c_str()[0]);
    if (leftByte != rightByte) {
        return leftByte < rightByte;
    }
    const int order = left->name.compare(right->name);
    return order != 0 ? order < 0 : left < right;
};

}  // namespace

JsonObject::JsonObject() noexcept = default;
JsonObject::~JsonObject() = default;
JsonObject::JsonObject(const JsonObject& other) = default;
JsonObject::JsonObject(JsonObject&& other) noexcept = default;

JsonObject& JsonObject::operator=(const JsonObject& other)
{
    return *this = JsonObject(other);
}

JsonObject& JsonObject::operator=(JsonObject&& other) noexcept
{
    // Other may be a part of this object, which goes with the old members.
    auto taken = std::move(other.members);
    members = std::move(taken);
    return *this;
}

JsonObject JsonObject::fromMembers(std::span<JsonMember> members)
{
    // Most objects have few members, and room for them on the stack costs nothing.
    std::array<JsonMember*, 32> few;
    std::vector<JsonMember*> many(members.size() > few.size() ? members.size() : 0);
    const auto byKey = many.empty() ? std::span(few).first(members.size()) : std::span(many);
    std::transform(members.begin(), members.end(), byKey.begin(),
                   [](JsonMember& member) { return &member; });
    std::sort(byKey.begin(), byKey.end(), precedes);
    JsonObject object;
    object.members.reserve(byKey.size());
    for (JsonMember* const member : byKey) {
        if (!object.empty() && object.members.back().name == member->name) {
            object.members.back() = std::move(*member);
        } else {
            object.members.push_back(std::move(*member));
        }
    }
    return object;
}

bool JsonObject::empty() const noexcept
{
    return members.empty();
}

std::size_t JsonObject::size() const noexcept
{
    return members.size();
}

JsonMember* JsonObject::begin() noexcept
{
    return members.data();
}

JsonMember* JsonObject::end() noexcept
{
    return members.data() + members.size();
}

const JsonMember* JsonObject::begin() const noexcept
{
    return members.data();
}

const JsonMember* JsonObject::end() const noexcept
{
    return members.data() + members.size();
}

std::size_t JsonObject::lowerBound(std::string_view key) const
{
    const auto found = std::lower_bound(
        members.begin(), members.end(), key,
        [](const JsonMember& member, std::string_view name) { return member.name < name; });
    return static_cast<std::size_t>(found - members.begin());
}

const JsonMember* JsonObject::find(std::string_view key) const
{
    const JsonMember* const member = begin() + lowerBound(key);
    return member != end() && member->name == key ? member : nullptr;
}

JsonMember* JsonObject::find(std::string_view key)
{
    // The object is writable, so the member inside it is too.
    return const_cast<JsonMember*>(static_cast<const JsonObject&>(*this).find(key));
}

JsonMember& JsonObject::operator[](std::string_view key)
{
    const std::size_t index = lowerBound(key);
    if (index == size() || members[index].name != key) {
        members.insert(members.begin() + static_cast<std::ptrdiff_t>(index),
                       JsonMember{std::string(key), JsonValue()});
    }
    return members[index];
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
    std::vector<JsonMember> merged;
    merged.reserve(size() + copy.size());
    // Of two members with the same key set_union takes the first range's.
    std::set_union(
        std::move_iterator(copy.begin()), std::move_iterator(copy.end()),
        std::move_iterator(begin()), std::move_iterator(end()), std::back_inserter(merged),
        [](const JsonMember& left, const JsonMember& right) { return left.name < right.name; });
    members = std::move(merged);
}
