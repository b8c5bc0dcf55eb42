// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonPath.h"

#include <stdexcept>

namespace {

const JsonObject emptyObject{};
JsonMember emptyMember;

const JsonObject& asObject(const JsonValue& value)
{
    return value.type() == JsonType::object ? value.object() : emptyObject;
}

void clearEmptyMember()
{
    emptyMember.name.clear();
    emptyMember.value.reset();
}

}  // namespace

JsonMember& findMember(JsonMember& container, std::string_view key)
{
    if (container.value.type() != JsonType::object) {
        return emptyMember;
    }
    JsonMember* const found = container.value.object().find(key);
    return found == nullptr ? emptyMember : *found;
}

const JsonValue* findPath(const JsonObject& root, std::span<const char* const> keys)
{
    const JsonObject* object = &root;
    const JsonValue* value = nullptr;
    for (const char* key : keys) {
        if (key == nullptr) {
            throw std::logic_error("a key of a path is null");
        }
        const JsonMember* const found = object->find(key);
        clearEmptyMember();
        if (found == nullptr) {
            return nullptr;
        }
        value = &found->value;
        object = &asObject(*value);
    }
    return value;
}

JsonValue* findPath(JsonObject& root, std::span<const char* const> keys)
{
    // The root is writable, so the value inside it is too.
    return const_cast<JsonValue*>(findPath(static_cast<const JsonObject&>(root), keys));
}
