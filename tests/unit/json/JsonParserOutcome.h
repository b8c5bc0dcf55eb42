// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "json/JsonParser.h"
#include "tests/unit/json/Trees.h"

/// All that a call of the parser leaves.
struct Outcome {
    JsonCode code = JsonCode::ok;
    std::uint64_t position = 987654321;  ///< before the call
    JsonObject destination = members({{"before", array({integer(1), string("kept on failure")})}});
};

inline bool operator==(const Outcome& left, const Outcome& right)
{
    return left.code == right.code && left.position == right.position &&
           left.destination == right.destination;
}

inline void PrintTo(const Outcome& outcome, std::ostream* stream)
{
    PrintTo(outcome.code, stream);
    *stream << " at " << outcome.position << ", " << describe(outcome.destination);
}

/// Parses the text into a destination that holds something already.
inline Outcome parse(std::string_view text)
{
    // A copy has room for the bytes of the text and its NUL alone, so that AddressSanitizer notices
    // a read past them.
    const std::string exact(text);
    Outcome outcome;
    outcome.code = JsonParser::parse(outcome.destination, exact, outcome.position);
    return outcome;
}

/// Success: the destination holds these members and no others, the position was not written.
inline Outcome accepted(JsonObject destination)
{
    Outcome outcome;
    outcome.destination = std::move(destination);
    return outcome;
}

/// Failure: the destination is what it was.
inline Outcome refused(JsonCode code, std::uint64_t position)
{
    Outcome outcome;
    outcome.code = code;
    outcome.position = position;
    return outcome;
}
