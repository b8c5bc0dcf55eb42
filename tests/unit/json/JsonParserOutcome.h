// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "json/JsonParser.h"
#include "tests/unit/json/Trees.h"

/// All that a call of the parser leaves.
struct Outcome {
    JsonCode code;
    std::uint64_t position;
    JsonObject destination;

    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* stream);

constexpr std::uint64_t positionBefore = 987654321;

Outcome parse(std::string_view text);

/// Success: the destination holds these members and no others, the position was not written.
Outcome accepted(JsonObject destination);

/// Failure: the destination is what it was.
Outcome refused(JsonCode code, std::uint64_t position);

/// A text in two pieces: the second one begins with the byte that is refused.
struct Refusal {
    std::string read;
    std::string rest;
};

void expectRefused(const std::vector<Refusal>& rows, JsonCode code);

std::string byteOf(int number);

bool isOneOf(std::string_view set, const std::string& byte);
