// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "json/JsonObject.h"

/// The kind of a JsonValue. The numbers are fixed: callers may store and compare them.
enum class JsonType : std::uint32_t {
    null = 0,     ///< no payload
    integer = 1,  ///< signed, 64 bits
    real = 2,     ///< IEEE 754 double precision
    boolean = 3,
    string = 4,  ///< counted bytes of any value, in no particular character set
    object = 5,
    array = 6,
    unknown = 7,  ///< no payload; copied, destroyed and written like null, never parsed
};

/// The three-letter name of a kind, "nul" to "unk"; valid for the whole run.
const char* shortName(JsonType type) noexcept;

/// The elements of an array, in the order of the text.
using JsonArray = std::vector<JsonValue>;

/// A node of a JSON tree: a kind and, for most kinds, a payload of it.
///
/// A value owns its payload alone; a copy is a deep copy, a move leaves a value of the same kind
/// behind whose content is not specified. Copying and destroying recurse as deep as the tree is
/// nested. The accessors never check the kind: read type() first. No operation fails other than by
/// std::bad_alloc, and then *this is unchanged.
class JsonValue {
public:
    /// Null.
    JsonValue() noexcept = default;

    ~JsonValue() { reset(); }

    JsonValue(const JsonValue& other) { take(other); }
    JsonValue(JsonValue&& other) noexcept { take(std::move(other)); }

    /// The right-hand side may be the value itself or any part of it.
    JsonValue& operator=(const JsonValue& other);
    JsonValue& operator=(JsonValue&& other) noexcept;

    /// Makes the value null.
    void reset() noexcept
    {
        if (ownsMemory()) {
            destroyPayload();
        }
        tag = JsonType::null;
    }

    /// Each makes the value one of that kind.
    void setInteger(std::int64_t value) noexcept
    {
        reset();
        payload.scalar.integer = value;
        tag = JsonType::integer;
    }
    void setReal(double value) noexcept
    {
        reset();
        payload.scalar.real = value;
        tag = JsonType::real;
    }
    void setBoolean(bool value) noexcept
    {
        reset();
        payload.scalar.boolean = value;
        tag = JsonType::boolean;
    }
    void setString(std::string value) noexcept
    {
        reset();
        std::construct_at(&payload.string, std::move(value));
        tag = JsonType::string;
    }
    void setObject(JsonObject value) noexcept
    {
        reset();
        std::construct_at(&payload.object, std::move(value));
        tag = JsonType::object;
    }
    void setArray(JsonArray value) noexcept
    {
        reset();
        std::construct_at(&payload.array, std::move(value));
        tag = JsonType::array;
    }
    void setUnknown() noexcept
    {
        reset();
        tag = JsonType::unknown;
    }

    [[nodiscard]] JsonType type() const noexcept { return tag; }

    /// The payload, inside the value, so that the caller may change it in place.
    /// REQUIRES: type() is the kind named.
    [[nodiscard]] std::int64_t& integer() noexcept { return payload.scalar.integer; }
    [[nodiscard]] double& real() noexcept { return payload.scalar.real; }
    [[nodiscard]] bool& boolean() noexcept { return payload.scalar.boolean; }
    [[nodiscard]] std::string& string() noexcept { return payload.string; }
    [[nodiscard]] JsonObject& object() noexcept { return payload.object; }
    [[nodiscard]] JsonArray& array() noexcept { return payload.array; }

    [[nodiscard]] std::int64_t integer() const noexcept { return payload.scalar.integer; }
    [[nodiscard]] double real() const noexcept { return payload.scalar.real; }
    [[nodiscard]] bool boolean() const noexcept { return payload.scalar.boolean; }
    [[nodiscard]] const std::string& string() const noexcept { return payload.string; }
    [[nodiscard]] const JsonObject& object() const noexcept { return payload.object; }
    [[nodiscard]] const JsonArray& array() const noexcept { return payload.array; }

private:
    union Scalar {
        std::int64_t integer;
        double real;
        bool boolean;
    };

    /// The member that the tag names is the live one, for null and unknown the scalar. Which that
    /// is only JsonValue knows, so it does what the destructor leaves out here.
    union Payload {
        Payload() noexcept : scalar{} {}
        ~Payload() {}  // NOLINT(modernize-use-equals-default): that would delete it
        Payload(const Payload&) = delete;
        Payload& operator=(const Payload&) = delete;

        Scalar scalar;
        std::string string;
        JsonObject object;
        JsonArray array;
    };

    [[nodiscard]] bool ownsMemory() const noexcept
    {
        return tag == JsonType::string || tag == JsonType::object || tag == JsonType::array;
    }
    void destroyPayload() noexcept;

    /// Makes a null value a copy of the other one, or moves that one here.
    template <typename Value>
    void take(Value&& other)
    {
        tag = other.tag;
        if (ownsMemory()) {
            takePayload(std::forward<Value>(other));
        } else {
            payload.scalar = other.payload.scalar;
        }
    }
    template <typename Value>
    void takePayload(Value&& other);

    Payload payload;
    JsonType tag = JsonType::null;
};

/// What an object holds.
struct JsonMember {
    std::string name;  ///< the key; inside an object it stays as it is, since the order rests on it
    JsonValue value;
};

// What JsonObject can define only where a member is known.

inline JsonObject::JsonObject() noexcept = default;
inline JsonObject::~JsonObject() = default;
inline JsonObject::JsonObject(const JsonObject& other) = default;
inline JsonObject::JsonObject(JsonObject&& other) noexcept = default;
inline JsonObject& JsonObject::operator=(const JsonObject& other) = default;
inline JsonObject& JsonObject::operator=(JsonObject&& other) noexcept = default;

inline std::size_t JsonObject::size() const noexcept
{
    return members.size();
}

inline bool JsonObject::empty() const noexcept
{
    return members.empty();
}

inline JsonMember* JsonObject::begin() noexcept
{
    return members.data();
}

inline JsonMember* JsonObject::end() noexcept
{
    return members.data() + members.size();
}

inline const JsonMember* JsonObject::begin() const noexcept
{
    return members.data();
}

inline const JsonMember* JsonObject::end() const noexcept
{
    return members.data() + members.size();
}
