// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

/// Reads the whole file of this name into the text, byte for byte.
///
/// Returns true, with the text resized to the file's size, when the file could be opened and has
/// no more than limit bytes. Returns false, with the text as it was, when it could not be opened,
/// has more, or has no end position (a pipe, a terminal).
///
/// How much the read itself delivers is not checked, on purpose: where the file shrinks meanwhile
/// or the read fails, the rest of the text holds its earlier bytes, or zero bytes where there were
/// none.
[[nodiscard]] bool readTextFile(const std::string& name, std::string& text, std::int64_t limit);
