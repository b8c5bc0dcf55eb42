// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/json/JsonParserOutcome.h"

#include <gtest/gtest.h>

#include <utility>

void PrintTo(const Outcome& outcome, std::ostream* stream)
{
    *stream << "code " << testing::PrintToString(outcome.code) << ", position " << outcome.position
            << ", destination " << testing::PrintToString(outcome.destination);
}

namespace {

JsonObject destinationBefore()
{
    return members({{"before", array({integer(1), string("kept on failure")})}});
}

}  // namespace

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

void expectRefused(const std::vector<Refusal>& rows, JsonCode code)
{
    for (const Refusal& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.read + row.rest));
        EXPECT_EQ(parse(row.read + row.rest), refused(code, row.read.size()));
    }
}

std::string byteOf(int number)
{
    return std::string(1, static_cast<char>(number));
}

bool isOneOf(std::string_view set, const std::string& byte)
{
    return set.find(byte) != std::string_view::npos;
}
