// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <span>
#include <string_view>

#include "json/JsonValue.h"

// The operations of this file share one empty member, which stands for every missing one. It is
// process-wide and unguarded: no two of them may run at the same time.

/// The member of this key in the object that the container holds. If there is none, or if the
/// container holds no object, the result is the shared empty member. What a caller writes into that
/// stays visible until the next findPath with at least one key, which clears it.
[[nodiscard]] JsonMember& findMember(JsonMember& container, std::string_view key);

/// Follows the keys from the root, looking each one up in the object that the one before led to.
/// Returns the value that the last key names, of whatever kind it is; it stays a part of the tree.
/// Returns null if a key is missing, if a value on the way is no object, or without any key.
///
/// The keys are NUL-terminated. A null pointer among those that are looked at throws
/// std::logic_error.
[[nodiscard]] JsonValue* findPath(JsonObject& root, std::span<const char* const> keys);
[[nodiscard]] const JsonValue* findPath(const JsonObject& root, std::span<const char* const> keys);
