// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

/// A reference model of a JSON tree. It is made of standard containers and shares nothing with
/// json/. The index of its content is the number of the kind.
struct TreeModel {
    struct Null {};
    struct Unknown {};
    using Object = std::map<std::string, TreeModel>;
    using Array = std::vector<TreeModel>;

    std::variant<Null, std::int64_t, double, bool, std::string, Object, Array, Unknown> content;

    [[nodiscard]] std::string& string() { return std::get<std::string>(content); }
    [[nodiscard]] Object& object() { return std::get<Object>(content); }
    [[nodiscard]] Array& array() { return std::get<Array>(content); }
};
