// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/JsonValue.h"
#include "tests/unit/json/TreeModel.h"

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

/// The places of all values, by kind.
using Places = std::array<std::vector<Place>, 8>;

/// A tree and its model, a target and a source inside both, and what can be done with them.
class TwinTree {
public:
    explicit TwinTree(std::uint64_t seed) : choices(seed) {}

    std::size_t below(std::size_t limit) { return choices.below(limit); }

    /// The same kinds, contents, names and order.
    [[nodiscard]] bool agrees() const;
    [[nodiscard]] Relation relation() const;

    /// Looks at the tree anew and returns how many values it has.
    std::size_t countValues();

    /// Takes a target and a source, each of the kind or, by unknown, of any. Returns whether there
    /// are such.
    bool choosePlaces(JsonType targetKind, JsonType sourceKind);

    [[nodiscard]] std::string describePlaces() const;

    // A new content.

    void reset();
    void setInteger();
    void setReal();
    void setBoolean();
    void setString();
    void setUnknown();
    void setNewObject();
    void setNewArray();

    // From the source to the target.

    void copyValue();
    void moveValue();
    void constructCopy();
    void constructMoved();
    void swapValues();
    void copyObject();
    void moveObject();
    void copyArray();
    void moveArray();
    void setStringCopy();
    void setObjectCopy();
    void setArrayCopy();
    void setStringMoved();
    void setObjectMoved();
    void setArrayMoved();

    // Members of the target.

    void insertOrAssign();
    void subscript();
    void erase();
    void merge();
    void clearObject();
    void find();
    void followPath();

    // Elements of the target.

    void pushBack();
    void insertElement();
    void eraseElement();

private:
    JsonValue& treeTarget();
    JsonValue& treeSource();
    TreeModel& modelTarget();
    TreeModel& modelSource();

    bool choosePlace(Place& place, JsonType kind);

    template <typename Copy>
    void copyBy(Copy copy);

    template <typename Move>
    void moveBy(Move move);

    /// A key for json/ and the same for the model. The first may view bytes inside the tree.
    std::pair<std::string_view, std::string> chooseKey();

    Choices choices;
    JsonValue tree;
    TreeModel model;
    Places places;
    Place target;
    Place source;
};
