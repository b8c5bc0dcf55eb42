// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <span>
#include <string_view>

#include "json/JsonValue.h"

// The two operations of this file share one empty member that stands for every member that is
// missing. It is process-wide and unguarded: neither operation may run beside another.

/// The member of this key in the object that the container's value is. Where there is none, or
/// where the value is no object, the result is the shared empty member. What a caller writes into
/// that stays visible until the next findPath
/// that has a key to look up: that clears it.
[[nodiscard]] JsonMember& findMember(JsonMember& container, std::string_view key);

/// The value that the keys lead to, each looked up in the value that the one before it led to and
/// the first one in the root; or null when a key is missing, when a value on the way is no object,
/// or when there are no keys. The value stays a part of the tree, of whatever kind it is.
///
/// The keys are NUL-terminated. A null pointer among those that are looked at throws
/// std::logic_error.
[[nodiscard]] JsonValue* findPath(JsonObject& root, std::span<const char* const> keys);
[[nodiscard]] const JsonValue* findPath(const JsonObject& root, std::span<const char* const> keys);
