// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonValue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/unit/json/Trees.h"

namespace {

// Otherwise an array that grows copies its elements.
static_assert(std::is_nothrow_move_constructible_v<JsonValue>);
static_assert(std::is_same_v<std::underlying_type_t<JsonType>, std::uint32_t>);

TEST(JsonType, HasAFixedNumberAndAShortName)
{
    struct Row {
        JsonType type;
        std::uint32_t number;
        const char* name;
    };
    const std::array<Row, 8> rows = {{
        {JsonType::null, 0, "nul"},
        {JsonType::integer, 1, "int"},
        {JsonType::real, 2, "dbl"},
        {JsonType::boolean, 3, "boo"},
        {JsonType::string, 4, "str"},
        {JsonType::object, 5, "obj"},
        {JsonType::array, 6, "vec"},
        {JsonType::unknown, 7, "unk"},
    }};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(static_cast<std::uint32_t>(row.type), row.number);
        EXPECT_STREQ(shortName(row.type), row.name);
    }
}

TEST(JsonValue, IsNullByDefault)
{
    EXPECT_EQ(JsonValue().type(), JsonType::null);
    EXPECT_EQ(JsonMember().value.type(), JsonType::null);
    EXPECT_EQ(JsonMember().name, "");
}

TEST(JsonValue, CanBecomeUnknownAndNull)
{
    JsonValue value = string("x");
    value.setUnknown();
    EXPECT_EQ(value.type(), JsonType::unknown);
    value.reset();
    EXPECT_EQ(value.type(), JsonType::null);
}

TEST(JsonValue, LetsANumberBeChangedInPlace)
{
    JsonValue value = integer(1);
    value.integer() = 2;
    EXPECT_EQ(value, integer(2));
    value = real(1.5);
    value.real() = 2.5;
    EXPECT_EQ(value, real(2.5));
}

// Copies and moves inside a tree. What nothing is promised about is left out: a move into a part of
// the source; an assignment to an array, which is a std::vector, if either is a part of the other;
// and the content of what was moved from.

constexpr JsonType any = JsonType::unknown;

/// Gives a target the content of a source. Each is of the kind, or of any.
struct Operation {
    const char* name;
    JsonType target;
    JsonType source;
    void (*run)(JsonValue& to, JsonValue& from);
};

const Operation copies[] = {
    {"copy a value", any, any, [](JsonValue& to, JsonValue& from) { to = std::as_const(from); }},
    {"construct a copy", any, any, [](JsonValue& to, JsonValue& from) { to = JsonValue(from); }},
    {"copy an object", JsonType::object, JsonType::object,
     [](JsonValue& to, JsonValue& from) { to.object() = from.object(); }},
    {"copy an array", JsonType::array, JsonType::array,
     [](JsonValue& to, JsonValue& from) { to.array() = from.array(); }},
    {"set a copied string", any, JsonType::string,
     [](JsonValue& to, JsonValue& from) { to.setString(from.string()); }},
    {"set a copied object", any, JsonType::object,
     [](JsonValue& to, JsonValue& from) { to.setObject(from.object()); }},
    {"set a copied array", any, JsonType::array,
     [](JsonValue& to, JsonValue& from) { to.setArray(from.array()); }},
};

const Operation moves[] = {
    {"move a value", any, any, [](JsonValue& to, JsonValue& from) { to = std::move(from); }},
    {"construct by a move", any, any,
     [](JsonValue& to, JsonValue& from) { to = JsonValue(std::move(from)); }},
    {"move an object", JsonType::object, JsonType::object,
     [](JsonValue& to, JsonValue& from) { to.object() = std::move(from.object()); }},
    {"move an array", JsonType::array, JsonType::array,
     [](JsonValue& to, JsonValue& from) { to.array() = std::move(from.array()); }},
    {"set a moved string", any, JsonType::string,
     [](JsonValue& to, JsonValue& from) { to.setString(std::move(from.string())); }},
    {"set a moved object", any, JsonType::object,
     [](JsonValue& to, JsonValue& from) { to.setObject(std::move(from.object())); }},
    {"set a moved array", any, JsonType::array,
     [](JsonValue& to, JsonValue& from) { to.setArray(std::move(from.array())); }},
};

/// Has values of every kind, and of each kind with parts some inside others of it.
JsonValue someTree()
{
    const JsonValue inner = object({{"a", array({string("short"), unknown()})}, {"o", object({})}});
    return object({{"array", array({integer(7), array({real(-0.0), array({})}), inner})},
                   {"null", JsonValue()},
                   {"object", object({{"inner", inner}, {"string", string(std::string(60, 'x'))}})},
                   {"true", boolean(true)}});
}

void collect(JsonValue& value, std::vector<JsonValue*>& values)
{
    values.push_back(&value);
    if (value.type() == JsonType::object) {
        for (JsonMember& member : value.object()) {
            collect(member.value, values);
        }
    } else if (value.type() == JsonType::array) {
        for (JsonValue& element : value.array()) {
            collect(element, values);
        }
    }
}

/// The value and all its parts, in an order that depends on the content alone.
std::vector<JsonValue*> valuesIn(JsonValue& value)
{
    std::vector<JsonValue*> values;
    collect(value, values);
    return values;
}

bool isIn(JsonValue& outer, const JsonValue& value)
{
    const std::vector<JsonValue*> values = valuesIn(outer);
    return std::find(values.begin(), values.end(), &value) != values.end();
}

bool isOf(JsonType kind, const JsonValue& value)
{
    return kind == any || kind == value.type();
}

bool isPromised(const Operation& operation, bool isMove, JsonValue& to, JsonValue& from)
{
    if (!isOf(operation.target, to) || !isOf(operation.source, from)) {
        return false;
    }
    const bool isOfVectors = operation.target == JsonType::array;
    if (&to == &from) {
        return !isMove || !isOfVectors;
    }
    if (isIn(from, to)) {
        return !isMove && !isOfVectors;
    }
    return !isOfVectors || !isIn(to, from);
}

/// Runs the operation on any two values of a tree for which it is promised to work, and compares
/// the whole tree. Nothing that is expected went through the operation.
void expectBetweenAnyTwoValues(const Operation& operation, bool isMove)
{
    JsonValue untouched = someTree();
    const std::vector<JsonValue*> values = valuesIn(untouched);
    for (std::size_t pair = 0; pair < values.size() * values.size(); ++pair) {
        const std::size_t target = pair / values.size();
        const std::size_t source = pair % values.size();
        if (!isPromised(operation, isMove, *values[target], *values[source])) {
            continue;
        }
        JsonValue tree = someTree();
        JsonValue& to = *valuesIn(tree)[target];
        JsonValue& from = *valuesIn(tree)[source];
        SCOPED_TRACE(operation.name + (" of " + describe(from)) + " to " + describe(to));
        const std::string content = describe(from);
        const JsonType kind = from.type();
        const bool staysThere = !isIn(to, from) && !isIn(from, to);
        JsonValue expected = someTree();
        const std::vector<JsonValue*> places = valuesIn(expected);
        if (isMove && staysThere) {
            places[source]->reset();
        }
        places[target]->setString("target");

        operation.run(to, from);
        if (isMove && staysThere) {
            // The source keeps its kind, and can still be copied and assigned.
            EXPECT_EQ(from.type(), kind);
            const JsonValue copy(from);
            from = copy;
            from.reset();
        }
        std::string description = describe(expected);
        const std::string mark = describe(string("target"));
        description.replace(description.find(mark), mark.size(), content);
        ASSERT_EQ(describe(tree), description);
    }
}

TEST(JsonValue, CanBeGivenACopyOfAnyValueInItsTree)
{
    for (const Operation& copy : copies) {
        expectBetweenAnyTwoValues(copy, false);
    }
}

TEST(JsonValue, CanBeGivenAnyValueInItsTreeByAMove)
{
    for (const Operation& move : moves) {
        expectBetweenAnyTwoValues(move, true);
    }
}

}  // namespace
