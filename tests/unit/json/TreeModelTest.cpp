// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "json/JsonPath.h"
#include "tests/unit/json/CheckedMemory.h"
#include "tests/unit/json/TwinTree.h"

// Random operations on a tree of json/ and on its reference model, compared after each of them.
//
// What nothing is promised about is left out: moving a value, an object or an array into a part of
// itself; assigning to an array, which is a std::vector, a part of itself; and the content of what
// was moved from, which gets another one at once.
namespace {

constexpr std::uint64_t defaultSeeds = 60;
constexpr std::size_t stepsPerSeed = 300;
constexpr std::size_t fewValues = 6;
constexpr std::size_t manyValues = 120;

// Each changes the target, in the tree and in the model.

void setNewObject(TwinTree& twins)
{
    std::vector<JsonMember> members;
    TreeModel::Object expected;
    for (std::size_t left = twins.choices.below(8); left > 0; --left) {
        const std::string& name = twins.chooseWord();
        const bool isCopy = twins.choices.oneIn(3);
        members.push_back({name, isCopy ? twins.source() : JsonValue()});
        expected[name] = isCopy ? twins.modelSource() : TreeModel();
    }
    twins.target().setObject(JsonObject::fromMembers(members));
    twins.modelTarget().content = std::move(expected);
}

void setNewArray(TwinTree& twins)
{
    const std::size_t size = twins.choices.below(5);
    twins.target().setArray(JsonArray(size));
    twins.modelTarget().content = TreeModel::Array(size);
}

void reset(TwinTree& twins)
{
    twins.target().reset();
    twins.modelTarget().content = TreeModel::Null();
}

void setInteger(TwinTree& twins)
{
    using Limits = std::numeric_limits<std::int64_t>;
    const auto value = twins.choices.of(std::array{std::int64_t{0}, Limits::min(), Limits::max()});
    twins.target().setInteger(value);
    twins.modelTarget().content = value;
}

void setReal(TwinTree& twins)
{
    const double value = twins.choices.of(std::array{0.0, -0.0, 0.1, 1e300});
    twins.target().setReal(value);
    twins.modelTarget().content = value;
}

void setBoolean(TwinTree& twins)
{
    const bool value = twins.choices.oneIn(2);
    twins.target().setBoolean(value);
    twins.modelTarget().content = value;
}

void setString(TwinTree& twins)
{
    const std::string& value = twins.chooseWord();
    twins.target().setString(value);
    twins.modelTarget().content = value;
}

void setUnknown(TwinTree& twins)
{
    twins.target().setUnknown();
    twins.modelTarget().content = TreeModel::Unknown();
}

void swapWithSource(TwinTree& twins)
{
    if (twins.relation() == Relation::apart || twins.relation() == Relation::same) {
        std::swap(twins.target(), twins.source());
        std::swap(twins.modelTarget(), twins.modelSource());
    }
}

void insertOrAssign(TwinTree& twins)
{
    const TreeModel copy = twins.modelSource();
    const auto [key, expectedKey] = twins.chooseKey();
    twins.target().object().insertOrAssign(key, twins.source());
    twins.modelTarget().object()[expectedKey] = copy;
}

void subscript(TwinTree& twins)
{
    const auto [key, expectedKey] = twins.chooseKey();
    const JsonMember& member = twins.target().object()[key];
    EXPECT_EQ(member.name, expectedKey);
    EXPECT_TRUE(agree(member.value, twins.modelTarget().object()[expectedKey]));
}

void eraseMember(TwinTree& twins)
{
    const auto [key, expectedKey] = twins.chooseKey();
    const int erased = twins.target().object().erase(key);
    EXPECT_EQ(erased, static_cast<int>(twins.modelTarget().object().erase(expectedKey)));
}

void merge(TwinTree& twins)
{
    const TreeModel::Object copy = twins.modelSource().object();
    twins.target().object().merge(twins.source().object());
    for (const auto& [key, value] : copy) {
        twins.modelTarget().object()[key] = value;
    }
}

void clearObject(TwinTree& twins)
{
    twins.target().object().clear();
    twins.modelTarget().object().clear();
}

void find(TwinTree& twins)
{
    const auto [key, expectedKey] = twins.chooseKey();
    JsonObject& object = twins.target().object();
    const JsonMember* const member = object.find(key);
    const auto expected = twins.modelTarget().object().find(expectedKey);
    EXPECT_EQ(std::as_const(object).find(key), member);
    ASSERT_EQ(member != nullptr, expected != twins.modelTarget().object().end());
    if (member != nullptr) {
        EXPECT_EQ(member->name, expectedKey);
        EXPECT_TRUE(agree(member->value, expected->second));
    }
}

void followPath(TwinTree& twins)
{
    std::vector<const char*> keys;
    const TreeModel* expected = nullptr;
    const auto* object = &twins.modelTarget().object();
    for (std::size_t left = twins.choices.below(4); left > 0; --left) {
        const bool isAnyKey = object == nullptr || object->empty() || twins.choices.oneIn(4);
        const std::string& key = isAnyKey ? twins.chooseWord() : twins.choices.of(*object).first;
        keys.push_back(key.c_str());
        expected = nullptr;
        if (object != nullptr && object->contains(keys.back())) {
            expected = &object->at(keys.back());
        }
        object = expected == nullptr ? nullptr : std::get_if<TreeModel::Object>(&expected->content);
    }
    JsonObject& root = twins.target().object();
    const JsonValue* const value = findPath(root, keys);
    EXPECT_EQ(findPath(std::as_const(root), keys), value);
    ASSERT_EQ(value != nullptr, expected != nullptr);
    EXPECT_TRUE(value == nullptr || agree(*value, *expected));
}

void pushBack(TwinTree& twins)
{
    const TreeModel copy = twins.modelSource();
    twins.target().array().push_back(twins.source());
    twins.modelTarget().array().push_back(copy);
}

void insertElement(TwinTree& twins)
{
    const TreeModel copy = twins.modelSource();
    JsonArray& array = twins.target().array();
    const auto index = static_cast<std::ptrdiff_t>(twins.choices.below(array.size() + 1));
    array.insert(array.begin() + index, JsonValue(twins.source()));
    twins.modelTarget().array().insert(twins.modelTarget().array().begin() + index, copy);
}

void eraseElement(TwinTree& twins)
{
    JsonArray& array = twins.target().array();
    if (!array.empty()) {
        const auto index = static_cast<std::ptrdiff_t>(twins.choices.below(array.size()));
        array.erase(array.begin() + index);
        twins.modelTarget().array().erase(twins.modelTarget().array().begin() + index);
    }
}

/// One of three: a change, or a copy or a move from the source to the target.
struct Operation {
    const char* name;
    void (*change)(TwinTree& twins) = nullptr;
    void (*copy)(JsonValue& target, const JsonValue& source) = nullptr;
    void (*move)(JsonValue& target, JsonValue& source) = nullptr;
    JsonType target = JsonType::unknown;  ///< what it has to be; unknown stands for any kind
    JsonType source = JsonType::unknown;
    bool isOfVectors = false;  ///< neither of which may be a part of the other
};

constexpr Operation changing(const char* name, void (*change)(TwinTree& twins),
                             JsonType target = JsonType::unknown,
                             JsonType source = JsonType::unknown)
{
    return {.name = name, .change = change, .target = target, .source = source};
}

using enum JsonType;

constexpr std::array operations = {
    changing("setNewObject", setNewObject),
    changing("setNewArray", setNewArray),
    changing("reset", reset),
    changing("setInteger", setInteger),
    changing("setReal", setReal),
    changing("setBoolean", setBoolean),
    changing("setString", setString),
    changing("setUnknown", setUnknown),
    changing("swap", swapWithSource),
    changing("insertOrAssign", insertOrAssign, object),
    changing("subscript", subscript, object),
    changing("erase", eraseMember, object),
    changing("merge", merge, object, object),
    changing("clear", clearObject, object),
    changing("find", find, object),
    changing("findPath", followPath, object),
    changing("push_back", pushBack, array),
    changing("insert an element", insertElement, array),
    changing("erase an element", eraseElement, array),
    Operation{.name = "copy a value",
              .copy = [](JsonValue& to, const JsonValue& from) { to = from; }},
    Operation{.name = "construct a copy",
              .copy = [](JsonValue& to, const JsonValue& from) { to = JsonValue(from); }},
    Operation{.name = "copy an object",
              .copy = [](JsonValue& to, const JsonValue& from) { to.object() = from.object(); },
              .target = object,
              .source = object},
    Operation{.name = "copy an array",
              .copy = [](JsonValue& to, const JsonValue& from) { to.array() = from.array(); },
              .target = array,
              .source = array,
              .isOfVectors = true},
    Operation{.name = "set a copied string",
              .copy = [](JsonValue& to, const JsonValue& from) { to.setString(from.string()); },
              .source = string},
    Operation{.name = "set a copied object",
              .copy = [](JsonValue& to, const JsonValue& from) { to.setObject(from.object()); },
              .source = object},
    Operation{.name = "set a copied array",
              .copy = [](JsonValue& to, const JsonValue& from) { to.setArray(from.array()); },
              .source = array},
    Operation{.name = "move a value",
              .move = [](JsonValue& to, JsonValue& from) { to = std::move(from); }},
    Operation{.name = "construct by a move",
              .move = [](JsonValue& to, JsonValue& from) { to = JsonValue(std::move(from)); }},
    Operation{
        .name = "move an object",
        .move = [](JsonValue& to, JsonValue& from) { to.object() = std::move(from.object()); },
        .target = object,
        .source = object},
    Operation{.name = "move an array",
              .move = [](JsonValue& to, JsonValue& from) { to.array() = std::move(from.array()); },
              .target = array,
              .source = array,
              .isOfVectors = true},
    Operation{
        .name = "set a moved string",
        .move = [](JsonValue& to, JsonValue& from) { to.setString(std::move(from.string())); },
        .source = string},
    Operation{
        .name = "set a moved object",
        .move = [](JsonValue& to, JsonValue& from) { to.setObject(std::move(from.object())); },
        .source = object},
    Operation{.name = "set a moved array",
              .move = [](JsonValue& to, JsonValue& from) { to.setArray(std::move(from.array())); },
              .source = array},
};

bool isPromised(const Operation& operation, Relation relation)
{
    if (operation.isOfVectors) {
        return relation == Relation::apart ||
               (relation == Relation::same && operation.copy != nullptr);
    }
    return operation.move == nullptr || relation != Relation::targetIsPart;
}

void run(const Operation& operation, TwinTree& twins)
{
    if (operation.change != nullptr) {
        operation.change(twins);
        return;
    }
    TreeModel expected = twins.modelSource();
    if (operation.copy != nullptr) {
        operation.copy(twins.target(), twins.source());
    } else {
        JsonValue& from = twins.source();
        operation.move(twins.target(), from);
        if (twins.relation() == Relation::apart) {
            // The source keeps its kind, and can still be copied and assigned.
            EXPECT_EQ(static_cast<std::size_t>(from.type()), expected.content.index());
            const JsonValue copy(from);
            from = copy;
            from.reset();
            twins.modelSource() = TreeModel();
        }
    }
    twins.modelTarget() = std::move(expected);
}

/// Keeps the tree between few and many values, otherwise takes any operation.
const Operation& chooseOperation(TwinTree& twins)
{
    const std::size_t count = twins.countValues();
    if (count < fewValues) {
        return operations[twins.choices.below(2)];
    }
    return operations[count > manyValues ? 2 : twins.choices.below(operations.size())];
}

using Done = std::set<std::pair<std::string, Relation>>;

void runSeed(std::uint64_t seed, Done& done)
{
    TwinTree twins(seed);
    for (std::size_t step = 0; step < stepsPerSeed; ++step) {
        const Operation& operation = chooseOperation(twins);
        if (!twins.choosePlaces(operation.target, operation.source) ||
            !isPromised(operation, twins.relation())) {
            continue;
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step) + ": " +
                     operation.name + ", " + twins.describePlaces());
        done.emplace(operation.name, twins.relation());
        run(operation, twins);
        ASSERT_TRUE(twins.agrees());
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

/// SWITCH_QUERIER_TREE_SEEDS asks for a longer run.
std::uint64_t countSeeds()
{
    const char* const wanted = std::getenv("SWITCH_QUERIER_TREE_SEEDS");
    return std::max<std::uint64_t>(defaultSeeds,
                                   wanted == nullptr ? 0 : std::strtoull(wanted, nullptr, 10));
}

TEST(TreeModel, AgreesWithTheTreeAfterEachOfManyOperations)
{
    Done done;
    for (std::uint64_t seed = 1; seed <= countSeeds(); ++seed) {
        runSeed(seed, done);
        ASSERT_FALSE(HasFailure());
    }
    for (const Operation& operation : operations) {
        for (const Relation relation :
             {Relation::apart, Relation::same, Relation::sourceIsPart, Relation::targetIsPart}) {
            const bool isPossible = relation == Relation::apart ||
                                    operation.target == operation.source ||
                                    operation.source == JsonType::unknown;
            if (isPossible && isPromised(operation, relation)) {
                EXPECT_TRUE(done.contains({operation.name, relation}))
                    << operation.name << static_cast<int>(relation);
            }
        }
    }
}

TEST(TreeModel, LeavesNoMemoryAllocated)
{
    Done done;
    runSeed(1, done);
    const std::int64_t before = liveBlocks();
    runSeed(1, done);
    EXPECT_EQ(liveBlocks(), before);
}

}  // namespace
