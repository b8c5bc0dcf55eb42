// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <fstream>
#include <string>

/// An output file stream that replaces a file as a whole: it writes to a temporary file, and
/// finishing it renames that over the file of the final name.
///
/// Whoever opens the final name finds the old bytes or all of the new ones, never anything in
/// between, also after a crash of the program. After a power cut the same holds, and once finish
/// has returned 0 it is the new bytes, as far as file system and device keep what fsync(2)
/// promises: the syncing is a best effort whose failures are not reported.
///
/// It does not keep owner, mode or links of the replaced file, it holds no lock (two writers of one
/// name share the temporary file), and it never removes the temporary file: after a failure that
/// stays behind, for the next successful writer to reuse.
class ReplacingFile : public std::ofstream {
public:
    /// Nothing open.
    ReplacingFile() = default;

    /// Finishes a file that is still open, and tells nobody how that went. There is no way to
    /// abandon a file other than to set the stream's bad state.
    ~ReplacingFile() override;

    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    /// Opens the temporary file, the name with ".filsec" behind it, empty and in binary mode.
    /// Returns 0 when it is open for writing and -1 when not. A file that is still open is finished
    /// first; when that fails, its code is returned and nothing else is done.
    [[nodiscard]] std::int32_t open(const std::string& name);

    /// Flushes and closes the temporary file, and gives it the final name. Returns
    ///    0  when that is done, and when nothing is open;
    ///    1  when the stream was in a failed or bad state after the flush: the file of the final
    ///       name is untouched, the temporary file holds what reached it;
    ///   -3  when the rename was refused: likewise, and the temporary file is complete.
    /// A failure that shows only in the close is ignored. Nothing is open afterwards.
    [[nodiscard]] std::int32_t finish();

private:
    /// The name that the finished file will bear; empty until open.
    std::string finalName;
};
