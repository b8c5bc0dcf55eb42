// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <array>
#include <cstdint>

#include "bench/json/Job.h"
#include "json/JsonParser.h"
#include "json/JsonPath.h"
#include "json/JsonWriter.h"

std::string jobOfOurs(const std::string& document)
{
    constexpr std::array<const char*, 2> flagPath = {"App", "isEncoder"};
    JsonObject root;
    std::uint64_t position = 0;
    if (JsonParser::parse(root, document, position) != JsonCode::ok) {
        return {};
    }
    JsonValue* const flag = findPath(root, flagPath);
    flag->setBoolean(!flag->boolean());
    return JsonWriter::writeObject(root, 2);
}
