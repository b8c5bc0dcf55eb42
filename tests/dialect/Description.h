// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "json/JsonValue.h"

// A tree as a text: kinds, integers, the bits of reals, strings, names, and their order. Two trees
// are the same if their descriptions are. Of a NaN only the sign is described; the C library
// chooses its other bits.

std::string describe(const JsonValue& value);
std::string describe(const JsonObject& object);
