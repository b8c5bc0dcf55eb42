// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "json/JsonValue.h"

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

/// The same kinds, contents, names and order.
bool agree(const JsonValue& value, const TreeModel& model);

/// splitmix64: the same numbers on every machine.
class Choices {
public:
    explicit Choices(std::uint64_t seed) : state(seed) {}

    std::size_t below(std::size_t limit)
    {
        std::uint64_t mixed = state += 0x9e3779b97f4a7c15U;
        mixed = (mixed ^ (mixed >> 30U)) * 0xbf58476d1ce4e5b9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94d049bb133111ebU;
        return static_cast<std::size_t>((mixed ^ (mixed >> 31U)) % limit);
    }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <typename Container>
    const auto& of(const Container& container)
    {
        return *std::next(container.begin(), static_cast<std::ptrdiff_t>(below(container.size())));
    }

private:
    std::uint64_t state;
};

/// A value's place in the tree: the index of each member or element on the way from the root.
using Place = std::vector<std::size_t>;

enum class Relation { apart, same, sourceIsPart, targetIsPart };

/// A tree and its model, and a target and a source inside both.
class TwinTree {
public:
    explicit TwinTree(std::uint64_t seed) : choices(seed) {}

    [[nodiscard]] bool agrees() const { return agree(tree, model); }
    [[nodiscard]] Relation relation() const;
    [[nodiscard]] std::string describePlaces() const;

    /// Looks at the tree anew and returns how many values it has.
    std::size_t countValues();

    /// Takes a target and a source, each of the kind or, by unknown, of any. Returns whether there
    /// are such.
    bool choosePlaces(JsonType targetKind, JsonType sourceKind);

    [[nodiscard]] JsonValue& target();
    [[nodiscard]] JsonValue& source();
    [[nodiscard]] TreeModel& modelTarget();
    [[nodiscard]] TreeModel& modelSource();

    /// Short and long ones, which are stored in different ways, and such with a common prefix.
    const std::string& chooseWord();

    /// A key for json/ and the same for the model. The first may view bytes inside the tree.
    std::pair<std::string_view, std::string> chooseKey();

    Choices choices;

private:
    bool choosePlace(Place& place, JsonType kind);

    JsonValue tree;
    TreeModel model;
    std::array<std::vector<Place>, 8> places;  ///< of all values, by kind
    Place targetPlace;
    Place sourcePlace;
};
