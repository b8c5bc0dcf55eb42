// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/json/TwinTree.h"

#include <algorithm>
#include <bit>

using namespace std::string_literals;

namespace {

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

void collectPlaces(TreeModel& model, const Place& place, std::array<std::vector<Place>, 8>& places)
{
    places[model.content.index()].push_back(place);
    Place part = place;
    part.push_back(0);
    for (TreeModel* const value : partsOf(model)) {
        collectPlaces(*value, part, places);
        ++part.back();
    }
}

}  // namespace

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

Relation TwinTree::relation() const
{
    const auto [inTarget, inSource] = std::mismatch(targetPlace.begin(), targetPlace.end(),
                                                    sourcePlace.begin(), sourcePlace.end());
    if (inTarget != targetPlace.end()) {
        return inSource == sourcePlace.end() ? Relation::targetIsPart : Relation::apart;
    }
    return inSource == sourcePlace.end() ? Relation::same : Relation::sourceIsPart;
}

std::string TwinTree::describePlaces() const
{
    std::string text;
    for (const Place& place : {targetPlace, sourcePlace}) {
        text += text.empty() ? "target " : ", source ";
        for (const std::size_t index : place) {
            text += "/" + std::to_string(index);
        }
    }
    return text;
}

std::size_t TwinTree::countValues()
{
    places = {};
    collectPlaces(model, {}, places);
    std::size_t count = 0;
    for (const std::vector<Place>& ofKind : places) {
        count += ofKind.size();
    }
    return count;
}

bool TwinTree::choosePlaces(JsonType targetKind, JsonType sourceKind)
{
    return choosePlace(targetPlace, targetKind) && choosePlace(sourcePlace, sourceKind);
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

JsonValue& TwinTree::target()
{
    return valueAt(tree, targetPlace);
}

JsonValue& TwinTree::source()
{
    return valueAt(tree, sourcePlace);
}

TreeModel& TwinTree::modelTarget()
{
    return valueAt(model, targetPlace);
}

TreeModel& TwinTree::modelSource()
{
    return valueAt(model, sourcePlace);
}

const std::string& TwinTree::chooseWord()
{
    static const std::vector<std::string> words = {"",
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
    return choices.of(words);
}

std::pair<std::string_view, std::string> TwinTree::chooseKey()
{
    JsonValue& value = source();
    if (value.type() == JsonType::string) {
        return {value.string(), modelSource().string()};
    }
    if (value.type() == JsonType::object && !value.object().empty()) {
        const std::size_t index = choices.below(value.object().size());
        const auto expected =
            std::next(modelSource().object().begin(), static_cast<std::ptrdiff_t>(index));
        return {(value.object().begin() + index)->name, expected->first};
    }
    const std::string& word = chooseWord();
    return {word, word};
}
