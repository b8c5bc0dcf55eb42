// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

#include "json/JsonValue.h"

/// Gives the object a member of this key and value. A member of the key that is there already is
/// kept and takes the new value; every other member stays as it is.
void storeMember(JsonObject& object, std::string key, JsonValue value);

/// Removes and destroys the member of this key. Returns 1, or 0 when there is none.
int eraseMember(JsonObject& object, std::string_view key);

/// Stores a copy of each member of the source in the target. A key that both have ends with the
/// source's value; a key that only the target has is kept. The source may be a part of the target.
void mergeObject(JsonObject& target, const JsonObject& source);
