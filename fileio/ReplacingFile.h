// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <fstream>
#include <string>

/// An output file stream that replaces a file atomically: it writes to a temporary file, and
/// finish renames that over the file of the final name.
///
/// Whoever opens the final name sees either the old contents or the complete new contents, even
/// after a crash of the program. The same holds after a power failure, and once finish has returned
/// 0 the contents are the new ones, provided that the file system and the device honour fsync(2):
/// syncing is best effort, and its failures are not reported.
///
/// The owner, mode and links of the replaced file are not kept. There is no lock: two writers of
/// one name share the temporary file. The temporary file is never removed: a failure leaves it, and
/// the next successful writer reuses it.
///
/// WARNING: the inherited close() abandons the file: the final name keeps its old contents. A
/// finish after it finds nothing open and returns 0, although nothing was replaced.
class ReplacingFile : public std::ofstream {
public:
    /// Constructs a stream with nothing open.
    ReplacingFile() = default;

    /// Finishes a file that is still open, without reporting the result. To abandon the file, set
    /// the bad state of the stream or close() it. Does not throw a failure of the stream, even if
    /// an exceptions mask is set: it clears the mask first.
    ~ReplacingFile() override;

    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    /// Opens the temporary file, the final name followed by ".filsec", empty and in binary mode.
    /// Returns 0 if it is open for writing, else -1. A file that is still open is finished first;
    /// if that fails, open returns the code of finish and opens nothing.
    [[nodiscard]] std::int32_t open(const std::string& name);

    /// Flushes and closes the temporary file, and renames it to the final name. Returns
    ///    0  after that, or if nothing was open;
    ///    1  if the stream was in a failed or bad state after the flush: the final file is
    ///       untouched, and the temporary file holds the bytes that reached it;
    ///   -3  if the rename was refused: the final file is untouched, and the temporary file is
    ///       complete.
    /// A failure of the close itself is ignored. Nothing is open afterwards.
    [[nodiscard]] std::int32_t finish();

private:
    /// The name that the finished file will bear; empty until open.
    std::string finalName;
};
