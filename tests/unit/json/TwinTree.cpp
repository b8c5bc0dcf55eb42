// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/json/TwinTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <map>
#include <numeric>

#include "json/JsonPath.h"

using namespace std::string_literals;

namespace {

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

}  // namespace

bool TwinTree::agrees() const
{
    return agree(tree, model);
}

Relation TwinTree::relation() const
{
    return relate(target, source);
}

JsonValue& TwinTree::treeTarget()
{
    return valueAt(tree, target);
}

JsonValue& TwinTree::treeSource()
{
    return valueAt(tree, source);
}

TreeModel& TwinTree::modelTarget()
{
    return valueAt(model, target);
}

TreeModel& TwinTree::modelSource()
{
    return valueAt(model, source);
}

template <typename Copy>
void TwinTree::copyBy(Copy copy)
{
    TreeModel expected = modelSource();
    copy(treeTarget(), treeSource());
    modelTarget() = std::move(expected);
}

template <typename Move>
void TwinTree::moveBy(Move move)
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

std::size_t TwinTree::countValues()
{
    places = {};
    collectPlaces(model, {}, places);
    return std::accumulate(
        places.begin(), places.end(), std::size_t{0},
        [](std::size_t count, const auto& ofKind) { return count + ofKind.size(); });
}

bool TwinTree::choosePlaces(JsonType targetKind, JsonType sourceKind)
{
    return choosePlace(target, targetKind) && choosePlace(source, sourceKind);
}

std::string TwinTree::describePlaces() const
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

void TwinTree::reset()
{
    treeTarget().reset();
    modelTarget().content = TreeModel::Null();
}

void TwinTree::setInteger()
{
    using Limits = std::numeric_limits<std::int64_t>;
    const auto value = choices.of(std::array{std::int64_t{0}, Limits::min(), Limits::max()});
    treeTarget().setInteger(value);
    modelTarget().content = value;
}

void TwinTree::setReal()
{
    const double value = choices.of(std::array{0.0, -0.0, 0.1, 1e300});
    treeTarget().setReal(value);
    modelTarget().content = value;
}

void TwinTree::setBoolean()
{
    const bool value = choices.oneIn(2);
    treeTarget().setBoolean(value);
    modelTarget().content = value;
}

void TwinTree::setString()
{
    const std::string& value = choices.of(words);
    treeTarget().setString(value);
    modelTarget().content = value;
}

void TwinTree::setUnknown()
{
    treeTarget().setUnknown();
    modelTarget().content = TreeModel::Unknown();
}

void TwinTree::setNewObject()
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

void TwinTree::setNewArray()
{
    const std::size_t size = choices.below(5);
    treeTarget().setArray(JsonArray(size));
    modelTarget().content = TreeModel::Array(size);
}

void TwinTree::copyValue()
{
    copyBy([](JsonValue& to, const JsonValue& from) { to = from; });
}

void TwinTree::moveValue()
{
    moveBy([](JsonValue& to, JsonValue& from) { to = std::move(from); });
}

void TwinTree::constructCopy()
{
    copyBy([](JsonValue& to, const JsonValue& from) {
        JsonValue copy(from);
        to = std::move(copy);
    });
}

void TwinTree::constructMoved()
{
    moveBy([](JsonValue& to, JsonValue& from) {
        JsonValue moved(std::move(from));
        to = std::move(moved);
    });
}

void TwinTree::swapValues()
{
    if (relation() == Relation::apart || relation() == Relation::same) {
        std::swap(treeTarget(), treeSource());
        std::swap(modelTarget(), modelSource());
    }
}

void TwinTree::copyObject()
{
    copyBy([](JsonValue& to, const JsonValue& from) { to.object() = from.object(); });
}

void TwinTree::moveObject()
{
    moveBy([](JsonValue& to, JsonValue& from) { to.object() = std::move(from.object()); });
}

void TwinTree::copyArray()
{
    if (relation() == Relation::apart || relation() == Relation::same) {
        copyBy([](JsonValue& to, const JsonValue& from) { to.array() = from.array(); });
    }
}

void TwinTree::moveArray()
{
    if (relation() == Relation::apart) {
        moveBy([](JsonValue& to, JsonValue& from) { to.array() = std::move(from.array()); });
    }
}

void TwinTree::setStringCopy()
{
    copyBy([](JsonValue& to, const JsonValue& from) { to.setString(from.string()); });
}

void TwinTree::setObjectCopy()
{
    copyBy([](JsonValue& to, const JsonValue& from) { to.setObject(from.object()); });
}

void TwinTree::setArrayCopy()
{
    copyBy([](JsonValue& to, const JsonValue& from) { to.setArray(from.array()); });
}

void TwinTree::setStringMoved()
{
    moveBy([](JsonValue& to, JsonValue& from) { to.setString(std::move(from.string())); });
}

void TwinTree::setObjectMoved()
{
    moveBy([](JsonValue& to, JsonValue& from) { to.setObject(std::move(from.object())); });
}

void TwinTree::setArrayMoved()
{
    moveBy([](JsonValue& to, JsonValue& from) { to.setArray(std::move(from.array())); });
}

void TwinTree::insertOrAssign()
{
    const TreeModel copy = modelSource();
    const auto [key, expectedKey] = chooseKey();
    treeTarget().object().insertOrAssign(key, treeSource());
    modelTarget().object()[expectedKey] = copy;
}

void TwinTree::subscript()
{
    const auto [key, expectedKey] = chooseKey();
    const JsonMember& member = treeTarget().object()[key];
    EXPECT_EQ(member.name, expectedKey);
    EXPECT_TRUE(agree(member.value, modelTarget().object()[expectedKey]));
}

void TwinTree::erase()
{
    const auto [key, expectedKey] = chooseKey();
    const int erased = treeTarget().object().erase(key);
    EXPECT_EQ(erased, static_cast<int>(modelTarget().object().erase(expectedKey)));
}

void TwinTree::merge()
{
    const TreeModel::Object copy = modelSource().object();
    treeTarget().object().merge(treeSource().object());
    for (const auto& [key, value] : copy) {
        modelTarget().object()[key] = value;
    }
}

void TwinTree::clearObject()
{
    treeTarget().object().clear();
    modelTarget().object().clear();
}

void TwinTree::find()
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

void TwinTree::followPath()
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
        object = expected == nullptr ? nullptr : std::get_if<TreeModel::Object>(&expected->content);
    }
    JsonObject& root = treeTarget().object();
    const JsonValue* const value = findPath(root, keys);
    EXPECT_EQ(findPath(std::as_const(root), keys), value);
    ASSERT_EQ(value != nullptr, expected != nullptr);
    EXPECT_TRUE(value == nullptr || agree(*value, *expected));
}

void TwinTree::pushBack()
{
    const TreeModel copy = modelSource();
    treeTarget().array().push_back(treeSource());
    modelTarget().array().push_back(copy);
}

void TwinTree::insertElement()
{
    const TreeModel copy = modelSource();
    JsonArray& array = treeTarget().array();
    const auto index = static_cast<std::ptrdiff_t>(choices.below(array.size() + 1));
    array.insert(array.begin() + index, JsonValue(treeSource()));
    modelTarget().array().insert(modelTarget().array().begin() + index, copy);
}

void TwinTree::eraseElement()
{
    JsonArray& array = treeTarget().array();
    if (!array.empty()) {
        const auto index = static_cast<std::ptrdiff_t>(choices.below(array.size()));
        array.erase(array.begin() + index);
        modelTarget().array().erase(modelTarget().array().begin() + index);
    }
}

bool TwinTree::choosePlace(Place& place, JsonType kind)
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

std::pair<std::string_view, std::string> TwinTree::chooseKey()
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
