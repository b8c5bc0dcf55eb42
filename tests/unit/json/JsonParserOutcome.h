// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "json/JsonParser.h"

/// All that a call of the parser leaves.
struct Outcome {
    JsonCode code;
    std::uint64_t position;
    JsonObject destination;
};

bool operator==(const Outcome& left, const Outcome& right);

void PrintTo(const Outcome& outcome, std::ostream* stream);

constexpr std::uint64_t positionBefore = 987654321;

/// Parses the text into a destination that holds something already.
Outcome parse(std::string_view text);

/// Success: the destination holds these members and no others, the position was not written.
Outcome accepted(JsonObject destination);

/// Failure: the destination is what it was.
Outcome refused(JsonCode code, std::uint64_t position);

std::string byteOf(int number);

bool isOneOf(std::string_view set, const std::string& byte);
