// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

/// Reads the whole file of this name into the text, byte for byte.
///
/// Returns true, with the text resized to the size of the file, if the file could be opened and has
/// at most limit bytes. Returns false, with the text unchanged, if the file could not be opened, is
/// larger, or has no end position (a pipe, a terminal, a file of proc(5), which LLVM's C++ library
/// takes for empty). On processors of 32 bits a file of 2 GiB or more is larger than any limit: a
/// stream cannot deliver it at once.
///
/// The number of bytes that the read delivers is not checked; that is intended. If the file shrinks
/// meanwhile or the read fails, the rest of the text keeps its earlier bytes, or zero bytes beyond
/// its earlier size.
[[nodiscard]] bool readTextFile(const std::string& name, std::string& text, std::int64_t limit);
