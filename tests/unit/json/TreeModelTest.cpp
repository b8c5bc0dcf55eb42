// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/json/TreeModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <map>
#include <numeric>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/JsonPath.h"
#include "json/JsonValue.h"

using namespace std::string_literals;

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

/// Keys and strings: short and long ones, which are stored in different ways, and common prefixes.
const std::vector<std::string> words = {"",
                                        "a",
                                        "ab",
                                        "a\0b"s,
                                        "b",
                                        "App",
                                        "\x01",
                                        "\x7f",
                                        "\x80",
                                        "\xff",
                                        std::string(15, 'k'),
                                        std::string(16, 'k'),
                                        std::string(60, 'k'),
                                        std::string(60, 'k') + 'l'};

/// A value's place in the tree: the index of each member or element on the way from the root.
using Place = std::vector<std::size_t>;

enum class Relation { apart, same, sourceIsPart, targetIsPart };

Relation relate(const Place& target, const Place& source)
{
    const std::size_t common = std::min(target.size(), source.size());
    if (!std::equal(target.begin(), target.begin() + static_cast<std::ptrdiff_t>(common),
                    source.begin())) {
        return Relation::apart;
    }
    if (target.size() == source.size()) {
        return Relation::same;
    }
    return target.size() < source.size() ? Relation::sourceIsPart : Relation::targetIsPart;
}

std::vector<TreeModel*> partsOf(TreeModel& model)
{
    std::vector<TreeModel*> parts;
    if (auto* const object = std::get_if<TreeModel::Object>(&model.content)) {
        for (auto& [key, value] : *object) {
            parts.push_back(&value);
        }
    } else if (auto* const array = std::get_if<TreeModel::Array>(&model.content)) {
        for (TreeModel& element : *array) {
            parts.push_back(&element);
        }
    }
    return parts;
}

TreeModel& valueAt(TreeModel& model, const Place& place)
{
    TreeModel* value = &model;
    for (const std::size_t index : place) {
        value = partsOf(*value)[index];
    }
    return *value;
}

JsonValue& valueAt(JsonValue& tree, const Place& place)
{
    JsonValue* value = &tree;
    for (const std::size_t index : place) {
        value = value->type() == JsonType::array ? &value->array()[index]
                                                 : &(value->object().begin() + index)->value;
    }
    return *value;
}

/// The places of all values, by kind.
using Places = std::array<std::vector<Place>, 8>;

void collectPlaces(TreeModel& model, const Place& place, Places& places)
{
    places[model.content.index()].push_back(place);
    Place part = place;
    part.push_back(0);
    for (TreeModel* const value : partsOf(model)) {
        collectPlaces(*value, part, places);
        ++part.back();
    }
}

/// The same kinds, contents, names and order.
bool agree(const JsonValue& value, const TreeModel& model)
{
    if (static_cast<std::size_t>(value.type()) != model.content.index()) {
        return false;
    }
    switch (value.type()) {
    case JsonType::integer:
        return value.integer() == std::get<std::int64_t>(model.content);
    case JsonType::real:
        return std::bit_cast<std::uint64_t>(value.real()) ==
               std::bit_cast<std::uint64_t>(std::get<double>(model.content));
    case JsonType::boolean:
        return value.boolean() == std::get<bool>(model.content);
    case JsonType::string:
        return value.string() == std::get<std::string>(model.content);
    case JsonType::object: {
        const auto& members = std::get<TreeModel::Object>(model.content);
        return value.object().size() == members.size() &&
               std::equal(value.object().begin(), value.object().end(), members.begin(),
                          [](const JsonMember& member, const auto& expected) {
                              return member.name == expected.first &&
                                     agree(member.value, expected.second);
                          });
    }
    case JsonType::array: {
        const auto& elements = std::get<TreeModel::Array>(model.content);
        return std::equal(value.array().begin(), value.array().end(), elements.begin(),
                          elements.end(), agree);
    }
    default:
        return true;
    }
}

/// A tree and its model, a target and a source inside both, and what can be done with them.
class TwinTree {
public:
    explicit TwinTree(std::uint64_t seed) : choices(seed) {}

    std::size_t below(std::size_t limit) { return choices.below(limit); }

    [[nodiscard]] bool agrees() const { return agree(tree, model); }
    [[nodiscard]] Relation relation() const { return relate(target, source); }

    /// Looks at the tree anew and returns how many values it has.
    std::size_t countValues()
    {
        places = {};
        collectPlaces(model, {}, places);
        return std::accumulate(
            places.begin(), places.end(), std::size_t{0},
            [](std::size_t count, const auto& ofKind) { return count + ofKind.size(); });
    }

    /// Takes a target and a source, each of the kind or, by unknown, of any. Returns whether there
    /// are such.
    bool choosePlaces(JsonType targetKind, JsonType sourceKind)
    {
        return choosePlace(target, targetKind) && choosePlace(source, sourceKind);
    }

    [[nodiscard]] std::string describePlaces() const
    {
        std::string text;
        for (const Place& place : {target, source}) {
            text += text.empty() ? "target " : ", source ";
            for (const std::size_t index : place) {
                text += "/" + std::to_string(index);
            }
        }
        return text;
    }

    // A new content.

    void reset()
    {
        treeTarget().reset();
        modelTarget().content = TreeModel::Null();
    }
    void setInteger()
    {
        using Limits = std::numeric_limits<std::int64_t>;
        const auto value = choices.of(std::array{std::int64_t{0}, Limits::min(), Limits::max()});
        treeTarget().setInteger(value);
        modelTarget().content = value;
    }
    void setReal()
    {
        const double value = choices.of(std::array{0.0, -0.0, 0.1, 1e300});
        treeTarget().setReal(value);
        modelTarget().content = value;
    }
    void setBoolean()
    {
        const bool value = choices.oneIn(2);
        treeTarget().setBoolean(value);
        modelTarget().content = value;
    }
    void setString()
    {
        const std::string& value = choices.of(words);
        treeTarget().setString(value);
        modelTarget().content = value;
    }
    void setUnknown()
    {
        treeTarget().setUnknown();
        modelTarget().content = TreeModel::Unknown();
    }
    void setNewObject()
    {
        std::vector<JsonMember> members;
        TreeModel::Object expected;
        for (std::size_t left = choices.below(8); left > 0; --left) {
            const std::string& name = choices.of(words);
            const bool isCopy = choices.oneIn(3);
            members.push_back({name, isCopy ? treeSource() : JsonValue()});
            expected[name] = isCopy ? modelSource() : TreeModel();
        }
        treeTarget().setObject(JsonObject::fromMembers(members));
        modelTarget().content = std::move(expected);
    }
    void setNewArray()
    {
        const std::size_t size = choices.below(5);
        treeTarget().setArray(JsonArray(size));
        modelTarget().content = TreeModel::Array(size);
    }

    // From the source to the target.

    void copyValue()
    {
        copyBy([](JsonValue& to, const JsonValue& from) { to = from; });
    }
    void moveValue()
    {
        moveBy([](JsonValue& to, JsonValue& from) { to = std::move(from); });
    }
    void constructCopy()
    {
        copyBy([](JsonValue& to, const JsonValue& from) {
            JsonValue copy(from);
            to = std::move(copy);
        });
    }
    void constructMoved()
    {
        moveBy([](JsonValue& to, JsonValue& from) {
            JsonValue moved(std::move(from));
            to = std::move(moved);
        });
    }
    void swapValues()
    {
        if (relation() == Relation::apart || relation() == Relation::same) {
            std::swap(treeTarget(), treeSource());
            std::swap(modelTarget(), modelSource());
        }
    }
    void copyObject()
    {
        copyBy([](JsonValue& to, const JsonValue& from) { to.object() = from.object(); });
    }
    void moveObject()
    {
        moveBy([](JsonValue& to, JsonValue& from) { to.object() = std::move(from.object()); });
    }
    void copyArray()
    {
        if (relation() == Relation::apart || relation() == Relation::same) {
            copyBy([](JsonValue& to, const JsonValue& from) { to.array() = from.array(); });
        }
    }
    void moveArray()
    {
        if (relation() == Relation::apart) {
            moveBy([](JsonValue& to, JsonValue& from) { to.array() = std::move(from.array()); });
        }
    }
    void setStringCopy()
    {
        copyBy([](JsonValue& to, const JsonValue& from) { to.setString(from.string()); });
    }
    void setObjectCopy()
    {
        copyBy([](JsonValue& to, const JsonValue& from) { to.setObject(from.object()); });
    }
    void setArrayCopy()
    {
        copyBy([](JsonValue& to, const JsonValue& from) { to.setArray(from.array()); });
    }
    void setStringMoved()
    {
        moveBy([](JsonValue& to, JsonValue& from) { to.setString(std::move(from.string())); });
    }
    void setObjectMoved()
    {
        moveBy([](JsonValue& to, JsonValue& from) { to.setObject(std::move(from.object())); });
    }
    void setArrayMoved()
    {
        moveBy([](JsonValue& to, JsonValue& from) { to.setArray(std::move(from.array())); });
    }

    // Members of the target.

    void insertOrAssign()
    {
        const TreeModel copy = modelSource();
        const auto [key, expectedKey] = chooseKey();
        treeTarget().object().insertOrAssign(key, treeSource());
        modelTarget().object()[expectedKey] = copy;
    }
    void subscript()
    {
        const auto [key, expectedKey] = chooseKey();
        const JsonMember& member = treeTarget().object()[key];
        EXPECT_EQ(member.name, expectedKey);
        EXPECT_TRUE(agree(member.value, modelTarget().object()[expectedKey]));
    }
    void erase()
    {
        const auto [key, expectedKey] = chooseKey();
        const int erased = treeTarget().object().erase(key);
        EXPECT_EQ(erased, static_cast<int>(modelTarget().object().erase(expectedKey)));
    }
    void merge()
    {
        const TreeModel::Object copy = modelSource().object();
        treeTarget().object().merge(treeSource().object());
        for (const auto& [key, value] : copy) {
            modelTarget().object()[key] = value;
        }
    }
    void clearObject()
    {
        treeTarget().object().clear();
        modelTarget().object().clear();
    }
    void find()
    {
        const auto [key, expectedKey] = chooseKey();
        JsonObject& object = treeTarget().object();
        const JsonMember* const member = object.find(key);
        const auto expected = modelTarget().object().find(expectedKey);
        EXPECT_EQ(std::as_const(object).find(key), member);
        ASSERT_EQ(member != nullptr, expected != modelTarget().object().end());
        if (member != nullptr) {
            EXPECT_EQ(member->name, expectedKey);
            EXPECT_TRUE(agree(member->value, expected->second));
        }
    }
    void followPath()
    {
        std::vector<const char*> keys;
        const TreeModel* expected = nullptr;
        const auto* object = &modelTarget().object();
        for (std::size_t left = choices.below(4); left > 0; --left) {
            const bool isAnyKey = object == nullptr || object->empty() || choices.oneIn(4);
            const std::string& key = isAnyKey ? choices.of(words) : choices.of(*object).first;
            keys.push_back(key.c_str());
            expected = nullptr;
            if (object != nullptr && object->contains(keys.back())) {
                expected = &object->at(keys.back());
            }
            object =
                expected == nullptr ? nullptr : std::get_if<TreeModel::Object>(&expected->content);
        }
        JsonObject& root = treeTarget().object();
        const JsonValue* const value = findPath(root, keys);
        EXPECT_EQ(findPath(std::as_const(root), keys), value);
        ASSERT_EQ(value != nullptr, expected != nullptr);
        EXPECT_TRUE(value == nullptr || agree(*value, *expected));
    }

    // Elements of the target.

    void pushBack()
    {
        const TreeModel copy = modelSource();
        treeTarget().array().push_back(treeSource());
        modelTarget().array().push_back(copy);
    }
    void insertElement()
    {
        const TreeModel copy = modelSource();
        JsonArray& array = treeTarget().array();
        const auto index = static_cast<std::ptrdiff_t>(choices.below(array.size() + 1));
        array.insert(array.begin() + index, JsonValue(treeSource()));
        modelTarget().array().insert(modelTarget().array().begin() + index, copy);
    }
    void eraseElement()
    {
        JsonArray& array = treeTarget().array();
        if (!array.empty()) {
            const auto index = static_cast<std::ptrdiff_t>(choices.below(array.size()));
            array.erase(array.begin() + index);
            modelTarget().array().erase(modelTarget().array().begin() + index);
        }
    }

private:
    JsonValue& treeTarget() { return valueAt(tree, target); }
    JsonValue& treeSource() { return valueAt(tree, source); }
    TreeModel& modelTarget() { return valueAt(model, target); }
    TreeModel& modelSource() { return valueAt(model, source); }

    bool choosePlace(Place& place, JsonType kind)
    {
        std::vector<const Place*> suitable;
        for (std::size_t index = 0; index < places.size(); ++index) {
            if (kind == JsonType::unknown || index == static_cast<std::size_t>(kind)) {
                for (const Place& candidate : places[index]) {
                    suitable.push_back(&candidate);
                }
            }
        }
        if (!suitable.empty()) {
            place = *choices.of(suitable);
        }
        return !suitable.empty();
    }

    template <typename Copy>
    void copyBy(Copy copy)
    {
        TreeModel expected = modelSource();
        copy(treeTarget(), treeSource());
        modelTarget() = std::move(expected);
    }

    template <typename Move>
    void moveBy(Move move)
    {
        if (relation() == Relation::targetIsPart) {
            return;
        }
        TreeModel expected = modelSource();
        JsonValue& from = treeSource();
        move(treeTarget(), from);
        if (relation() == Relation::apart) {
            // The source keeps its kind, and can still be copied and assigned.
            EXPECT_EQ(static_cast<std::size_t>(from.type()), expected.content.index());
            const JsonValue copy(from);
            from = copy;
            from.reset();
            modelSource() = TreeModel();
        }
        modelTarget() = std::move(expected);
    }

    /// A key for json/ and the same for the model. The first may view bytes inside the tree.
    std::pair<std::string_view, std::string> chooseKey()
    {
        JsonValue& value = treeSource();
        if (value.type() == JsonType::string) {
            return {value.string(), modelSource().string()};
        }
        if (value.type() == JsonType::object && !value.object().empty()) {
            const std::size_t index = choices.below(value.object().size());
            const auto expected =
                std::next(modelSource().object().begin(), static_cast<std::ptrdiff_t>(index));
            return {(value.object().begin() + index)->name, expected->first};
        }
        const std::string& word = choices.of(words);
        return {word, word};
    }

    Choices choices;
    JsonValue tree;
    TreeModel model;
    Places places;
    Place target;
    Place source;
};

struct Operation {
    const char* name;
    void (TwinTree::*run)();
    JsonType target = JsonType::unknown;  // what it has to be; unknown stands for any kind
    JsonType source = JsonType::unknown;
};

constexpr std::array operations = {
    Operation{"setNewObject", &TwinTree::setNewObject},
    Operation{"setNewArray", &TwinTree::setNewArray},
    Operation{"reset", &TwinTree::reset},
    Operation{"setInteger", &TwinTree::setInteger},
    Operation{"setReal", &TwinTree::setReal},
    Operation{"setBoolean", &TwinTree::setBoolean},
    Operation{"setString", &TwinTree::setString},
    Operation{"setUnknown", &TwinTree::setUnknown},
    Operation{"copyValue", &TwinTree::copyValue},
    Operation{"moveValue", &TwinTree::moveValue},
    Operation{"constructCopy", &TwinTree::constructCopy},
    Operation{"constructMoved", &TwinTree::constructMoved},
    Operation{"swapValues", &TwinTree::swapValues},
    Operation{"copyObject", &TwinTree::copyObject, JsonType::object, JsonType::object},
    Operation{"moveObject", &TwinTree::moveObject, JsonType::object, JsonType::object},
    Operation{"copyArray", &TwinTree::copyArray, JsonType::array, JsonType::array},
    Operation{"moveArray", &TwinTree::moveArray, JsonType::array, JsonType::array},
    Operation{"setStringCopy", &TwinTree::setStringCopy, JsonType::unknown, JsonType::string},
    Operation{"setObjectCopy", &TwinTree::setObjectCopy, JsonType::unknown, JsonType::object},
    Operation{"setArrayCopy", &TwinTree::setArrayCopy, JsonType::unknown, JsonType::array},
    Operation{"setStringMoved", &TwinTree::setStringMoved, JsonType::unknown, JsonType::string},
    Operation{"setObjectMoved", &TwinTree::setObjectMoved, JsonType::unknown, JsonType::object},
    Operation{"setArrayMoved", &TwinTree::setArrayMoved, JsonType::unknown, JsonType::array},
    Operation{"insertOrAssign", &TwinTree::insertOrAssign, JsonType::object},
    Operation{"subscript", &TwinTree::subscript, JsonType::object},
    Operation{"erase", &TwinTree::erase, JsonType::object},
    Operation{"merge", &TwinTree::merge, JsonType::object, JsonType::object},
    Operation{"clearObject", &TwinTree::clearObject, JsonType::object},
    Operation{"find", &TwinTree::find, JsonType::object},
    Operation{"followPath", &TwinTree::followPath, JsonType::object},
    Operation{"pushBack", &TwinTree::pushBack, JsonType::array},
    Operation{"insertElement", &TwinTree::insertElement, JsonType::array},
    Operation{"eraseElement", &TwinTree::eraseElement, JsonType::array},
};

/// Keeps the tree between few and many values, otherwise takes any operation.
const Operation& chooseOperation(TwinTree& twins)
{
    const std::size_t count = twins.countValues();
    if (count < fewValues) {
        return operations[twins.below(2)];
    }
    return operations[count > manyValues ? 2 : twins.below(operations.size())];
}

using Done = std::set<std::pair<std::string, Relation>>;

void runSeed(std::uint64_t seed, Done& done)
{
    TwinTree twins(seed);
    for (std::size_t step = 0; step < stepsPerSeed; ++step) {
        const Operation& operation = chooseOperation(twins);
        if (!twins.choosePlaces(operation.target, operation.source)) {
            continue;
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step) + ": " +
                     operation.name + ", " + twins.describePlaces());
        done.emplace(operation.name, twins.relation());
        (twins.*operation.run)();
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
        EXPECT_TRUE(done.contains({operation.name, Relation::apart})) << operation.name;
    }
    for (const char* name : {"copyValue", "moveValue", "copyObject", "moveObject", "setArrayCopy",
                             "setArrayMoved", "merge", "insertOrAssign"}) {
        for (const Relation relation :
             {Relation::same, Relation::sourceIsPart, Relation::targetIsPart}) {
            EXPECT_TRUE(done.contains({name, relation})) << name << static_cast<int>(relation);
        }
    }
}

}  // namespace
