// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

class JsonValue;
struct JsonMember;

/// The members of an object, in the order of their keys: bytes compare unsigned, and of two keys
/// that agree over the shorter one's length the shorter comes first. That is also the order in
/// which they are written, whatever order they were read in. No two have the same key.
///
/// An object owns its members; a copy is a deep copy; a moved-from object is valid but unspecified.
/// The members lie in one block: adding or removing one may move the others, and pointers to
/// members or into them do not outlive that. No operation fails other than by std::bad_alloc, and
/// then *this is unchanged.
class JsonObject {
public:
    JsonObject() noexcept;
    ~JsonObject();
    JsonObject(const JsonObject& other);
    JsonObject(JsonObject&& other) noexcept;

    /// The right-hand side may be the object itself or any part of it. A copy may also go to a part
    /// of its source; a move may not, since the source would end inside itself.
    JsonObject& operator=(const JsonObject& other);
    JsonObject& operator=(JsonObject&& other) noexcept;

    /// Builds an object from members in the order of a text, moving from them. Of members with the
    /// same name the last one counts. Costs n log n comparisons for n members.
    [[nodiscard]] static JsonObject fromMembers(std::span<JsonMember> members);

    [[nodiscard]] bool empty() const noexcept;
    [[nodiscard]] std::size_t size() const noexcept;

    [[nodiscard]] JsonMember* begin() noexcept;
    [[nodiscard]] JsonMember* end() noexcept;
    [[nodiscard]] const JsonMember* begin() const noexcept;
    [[nodiscard]] const JsonMember* end() const noexcept;

    /// The member of this key, or null if there is none.
    [[nodiscard]] JsonMember* find(std::string_view key);
    [[nodiscard]] const JsonMember* find(std::string_view key) const;

    /// The member of this key. If there is none, it is added with the value null, which moves every
    /// member that follows it. To add n members one by one takes up to n * n / 2 moves: 3,000 in
    /// descending order cost 200 times what fromMembers costs, in random order 80 times.
    JsonMember& operator[](std::string_view key);

    /// Gives the object a member of this key and value. An existing member of the key takes the new
    /// value; every other member stays as it is. Costs what operator[] costs.
    void insertOrAssign(std::string_view key, JsonValue value);

    /// Removes and destroys the member of this key. Returns 1, or 0 if there is none.
    int erase(std::string_view key);

    void clear() noexcept;

    /// Inserts a copy of each member of the source. A key that both have ends with the source's
    /// value; a key that only this object has is kept. The source may be a part of this object.
    /// Linear in the members of both.
    void merge(const JsonObject& source);

private:
    /// The index of the first member whose key is not less than this one.
    [[nodiscard]] std::size_t lowerBound(std::string_view key) const;

    std::vector<JsonMember> members;
};
