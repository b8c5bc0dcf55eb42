// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

class JsonValue;
struct JsonMember;

/// The kind of a JsonValue. The numbers are fixed: callers may store and compare them.
enum class JsonType : std::uint32_t {
    null = 0,     ///< no payload
    integer = 1,  ///< signed, 64 bits
    number = 2,   ///< IEEE 754 double precision
    boolean = 3,
    string = 4,  ///< counted bytes of any value, in no particular character set
    object = 5,
    array = 6,
    unknown = 7,  ///< no payload; copied, destroyed and written like null, never parsed
};

/// The three-letter name of a kind, "nul" to "unk"; valid for the whole run.
const char* shortName(JsonType type) noexcept;

/// The members of an object, in the order of their keys: bytes compare unsigned, and of two keys
/// that agree over the shorter one's length the shorter comes first. That is also the order in
/// which they are written, whatever order they were read in. A member does not move while it lives.
using JsonObject = std::map<std::string, JsonMember, std::less<>>;

/// The elements of an array, in the order of the text.
using JsonArray = std::vector<JsonValue>;

/// A node of a JSON tree: a kind and, for most kinds, a payload of it.
///
/// A value owns its payload alone; a copy is a deep copy, a move leaves null behind. Copying and
/// destroying recurse as deep as the tree is nested. The accessors never check the kind: read
/// type() first. No operation fails other than by std::bad_alloc, and then *this is unchanged.
class JsonValue {
public:
    /// Null.
    JsonValue() noexcept = default;

    ~JsonValue() { release(); }

    JsonValue(const JsonValue& other);
    JsonValue(JsonValue&& other) noexcept : payload(other.payload), tag(other.tag)
    {
        other.forget();
    }

    /// A copy between values of one kind leaves the payload where it is and changes its content. The
    /// right-hand side may be the value itself or any part of it.
    JsonValue& operator=(const JsonValue& other);
    JsonValue& operator=(JsonValue&& other) noexcept;

    /// Makes the value null.
    void reset() noexcept
    {
        release();
        forget();
    }

    /// Each makes the value one of that kind. A payload of the same kind stays where it is and only
    /// its content changes; one of another kind is released.
    void setInteger(std::int64_t value) noexcept;
    void setNumber(double value) noexcept;
    void setBoolean(bool value) noexcept;
    void setString(std::string value);
    void setObject(JsonObject value);
    void setArray(JsonArray value);
    void setUnknown() noexcept;

    [[nodiscard]] JsonType type() const noexcept { return tag; }

    /// The payload, inside the value, so that the caller may change it in place.
    /// REQUIRES: type() is the kind named.
    [[nodiscard]] std::int64_t& integer() noexcept { return payload.integer; }
    [[nodiscard]] double& number() noexcept { return payload.number; }
    [[nodiscard]] bool& boolean() noexcept { return payload.boolean; }
    [[nodiscard]] std::string& string() noexcept { return *payload.string; }
    [[nodiscard]] JsonObject& object() noexcept { return *payload.object; }
    [[nodiscard]] JsonArray& array() noexcept { return *payload.array; }

    [[nodiscard]] std::int64_t integer() const noexcept { return payload.integer; }
    [[nodiscard]] double number() const noexcept { return payload.number; }
    [[nodiscard]] bool boolean() const noexcept { return payload.boolean; }
    [[nodiscard]] const std::string& string() const noexcept { return *payload.string; }
    [[nodiscard]] const JsonObject& object() const noexcept { return *payload.object; }
    [[nodiscard]] const JsonArray& array() const noexcept { return *payload.array; }

private:
    /// The pointers own what they point to. All of them stand at the same place as the scalars.
    union Payload {
        std::int64_t integer;
        double number;
        bool boolean;
        std::string* string;
        JsonObject* object;
        JsonArray* array;
    };

    /// Frees what the payload owns, and leaves payload and tag stale.
    void release() noexcept
    {
        if (tag >= JsonType::string) {
            releaseOwned();
        }
    }
    void releaseOwned() noexcept;

    /// Null, without freeing anything.
    void forget() noexcept
    {
        payload = Payload{};
        tag = JsonType::null;
    }

    /// The member of the union that tag names is the live one; null and unknown have none.
    Payload payload{};
    JsonType tag = JsonType::null;
};

/// What an object maps a key to.
struct JsonMember {
    std::string name;  ///< equal to the key, kept so by every operation that stores a member
    JsonValue value;
};
