// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <ios>
#include <streambuf>
#include <string>
#include <vector>

/// What reaches a console: each insertion, and "(flush)" for a flush.
class RecordingBuffer : public std::streambuf {
public:
    std::vector<std::string> events;

protected:
    int_type overflow(int_type byte) override
    {
        events.emplace_back(1, traits_type::to_char_type(byte));
        return traits_type::not_eof(byte);
    }

    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        events.emplace_back(bytes, static_cast<std::size_t>(count));
        return count;
    }

    int sync() override
    {
        events.emplace_back("(flush)");
        return 0;
    }
};
