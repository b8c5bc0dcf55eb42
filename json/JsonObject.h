// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class JsonValue;
struct JsonMember;

/// The members of an object, in the order of their keys: bytes compare unsigned, and of two keys
/// that agree over the shorter one's length the shorter comes first. That is also the order in
/// which they are written, whatever order they were read in. No two have the same key.
///
/// An object owns its members; a copy is a deep copy, a move leaves an object behind whose members
/// are not specified. They lie side by side: what adds or removes one may move the others, and
/// pointers to members or into them do not outlive that. No operation fails other than by
/// std::bad_alloc.
class JsonObject {
public:
    JsonObject() noexcept;
    ~JsonObject();
    JsonObject(const JsonObject& other);
    JsonObject(JsonObject&& other) noexcept;
    JsonObject& operator=(const JsonObject& other);
    JsonObject& operator=(JsonObject&& other) noexcept;

    /// The object of these members, which are in the order of a text and are moved from. Of those
    /// with the same name the last one counts.
    [[nodiscard]] static JsonObject fromMembers(std::span<JsonMember> members);

    [[nodiscard]] bool empty() const noexcept;
    [[nodiscard]] std::size_t size() const noexcept;

    [[nodiscard]] JsonMember* begin() noexcept;
    [[nodiscard]] JsonMember* end() noexcept;
    [[nodiscard]] const JsonMember* begin() const noexcept;
    [[nodiscard]] const JsonMember* end() const noexcept;

    /// The member of this key, or null when there is none.
    [[nodiscard]] JsonMember* find(std::string_view key);
    [[nodiscard]] const JsonMember* find(std::string_view key) const;

    /// The member of this key. Where there is none it is added, with the value null.
    JsonMember& operator[](std::string_view key);

    /// Gives the object a member of this key and value. A member of the key that is there already
    /// takes the new value; every other member stays as it is.
    void insertOrAssign(std::string_view key, JsonValue value);

    /// Removes and destroys the member of this key. Returns 1, or 0 when there is none.
    int erase(std::string_view key);

    void clear() noexcept;

    /// Stores a copy of each member of the source. A key that both have ends with the source's
    /// value; a key that only this object has is kept. The source may be a part of this object.
    void merge(const JsonObject& source);

private:
    /// How many keys come before this one.
    [[nodiscard]] std::size_t lowerBound(std::string_view key) const;

    std::vector<JsonMember> members;
};
