// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/json/JsonParserOutcome.h"

#include <utility>

#include "tests/unit/json/Trees.h"

namespace {

JsonObject destinationBefore()
{
    return members({{"before", array({integer(1), string("kept on failure")})}});
}

}  // namespace

bool operator==(const Outcome& left, const Outcome& right)
{
    return left.code == right.code && left.position == right.position &&
           left.destination == right.destination;
}

void PrintTo(const Outcome& outcome, std::ostream* stream)
{
    PrintTo(outcome.code, stream);
    *stream << " at " << outcome.position << ", " << describe(outcome.destination);
}

Outcome parse(std::string_view text)
{
    // A copy has room for the bytes of the text and its NUL alone, so that AddressSanitizer notices
    // a read past them.
    const std::string exact(text);
    Outcome outcome{JsonCode::ok, positionBefore, destinationBefore()};
    outcome.code = JsonParser::parse(outcome.destination, exact, outcome.position);
    return outcome;
}

Outcome accepted(JsonObject destination)
{
    return {JsonCode::ok, positionBefore, std::move(destination)};
}

Outcome refused(JsonCode code, std::uint64_t position)
{
    return {code, position, destinationBefore()};
}

std::string byteOf(int number)
{
    return std::string(1, static_cast<char>(number));
}

bool isOneOf(std::string_view set, const std::string& byte)
{
    return set.find(byte) != std::string_view::npos;
}
