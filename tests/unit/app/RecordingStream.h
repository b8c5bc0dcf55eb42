// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

/// An unbuffered stream that records its text and its flushes.
class RecordingStream : public std::ostream {
public:
    RecordingStream() : std::ostream(nullptr) { rdbuf(&buffer); }

    /// Returns the texts between the flushes, oldest first. Text that was not flushed comes last,
    /// followed by "(not flushed)".
    [[nodiscard]] std::vector<std::string> records() const
    {
        std::vector<std::string> all = buffer.flushed;
        if (!buffer.pending.empty()) {
            all.push_back(buffer.pending + "(not flushed)");
        }
        return all;
    }

    /// Returns the number of writes.
    [[nodiscard]] int writes() const { return buffer.writes; }

private:
    class Buffer : public std::streambuf {
    public:
        std::vector<std::string> flushed;
        std::string pending;
        int writes = 0;

    protected:
        int_type overflow(int_type byte) override
        {
            if (!traits_type::eq_int_type(byte, traits_type::eof())) {
                pending += traits_type::to_char_type(byte);
                ++writes;
            }
            return traits_type::not_eof(byte);
        }

        std::streamsize xsputn(const char* bytes, std::streamsize count) override
        {
            pending.append(bytes, static_cast<std::size_t>(count));
            ++writes;
            return count;
        }

        int sync() override
        {
            flushed.push_back(pending);
            pending.clear();
            return 0;
        }
    };

    Buffer buffer;
};
