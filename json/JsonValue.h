// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
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

/// The elements of an array, in the order of the text. As with any std::vector, neither side of an
/// assignment may be a part of the other; assign to the JsonValue that holds the array instead.
using JsonArray = std::vector<JsonValue>;

/// A node of a JSON tree: a kind and, for most kinds, a payload of it.
///
/// A value owns its payload alone; a copy is a deep copy. A moved-from value keeps its kind, and
/// its content is valid but unspecified. Copying and destroying recurse as deep as the tree is
/// nested. No operation fails other than by std::bad_alloc, and then *this is unchanged.
class JsonValue {
public:
    /// Null.
    JsonValue() noexcept = default;

    ~JsonValue() = default;
    JsonValue(const JsonValue& other) = default;
    JsonValue(JsonValue&& other) noexcept = default;

    /// The right-hand side may be the value itself or any part of it. A copy may also go to a part
    /// of its source; a move may not, since the source would end inside itself.
    JsonValue& operator=(const JsonValue& other);
    JsonValue& operator=(JsonValue&& other) noexcept;

    /// Makes the value null.
    void reset() noexcept { content.emplace<Null>(); }

    /// Each makes the value one of that kind.
    void setInteger(std::int64_t value) noexcept { content.emplace<std::int64_t>(value); }
    void setReal(double value) noexcept { content.emplace<double>(value); }
    void setBoolean(bool value) noexcept { content.emplace<bool>(value); }
    void setString(std::string value) noexcept { content.emplace<std::string>(std::move(value)); }
    void setObject(JsonObject value) noexcept { content.emplace<JsonObject>(std::move(value)); }
    void setArray(JsonArray value) noexcept { content.emplace<JsonArray>(std::move(value)); }
    void setUnknown() noexcept { content.emplace<Unknown>(); }

    /// Makes the value an empty string, and returns that.
    std::string& setString() noexcept { return content.emplace<std::string>(); }

    [[nodiscard]] JsonType type() const noexcept { return static_cast<JsonType>(content.index()); }

    /// The payload, inside the value, so that the caller may change it in place.
    /// REQUIRES: type() is the kind named. Anything else throws std::bad_variant_access.
    [[nodiscard]] std::int64_t& integer() { return std::get<std::int64_t>(content); }
    [[nodiscard]] double& real() { return std::get<double>(content); }
    [[nodiscard]] bool& boolean() { return std::get<bool>(content); }
    [[nodiscard]] std::string& string() { return std::get<std::string>(content); }
    [[nodiscard]] JsonObject& object() { return std::get<JsonObject>(content); }
    [[nodiscard]] JsonArray& array() { return std::get<JsonArray>(content); }

    [[nodiscard]] std::int64_t integer() const { return std::get<std::int64_t>(content); }
    [[nodiscard]] double real() const { return std::get<double>(content); }
    [[nodiscard]] bool boolean() const { return std::get<bool>(content); }
    [[nodiscard]] const std::string& string() const { return std::get<std::string>(content); }
    [[nodiscard]] const JsonObject& object() const { return std::get<JsonObject>(content); }
    [[nodiscard]] const JsonArray& array() const { return std::get<JsonArray>(content); }

private:
    struct Null {};
    struct Unknown {};

    /// In the order of JsonType: the index is the kind.
    std::variant<Null, std::int64_t, double, bool, std::string, JsonObject, JsonArray, Unknown>
        content;
};

/// What an object holds.
struct JsonMember {
    std::string name;  ///< the key; inside an object it stays as it is, since the order rests on it
    JsonValue value;
};
