// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonValue.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/unit/json/Trees.h"

namespace {

struct Kind {
    const char* name;
    JsonType type;
    JsonValue value;
    JsonValue other;  // of the same kind with another content, if the kind has any
};

const std::string longText(100, 'x');

/// One row a kind, in the order of the tags.
std::vector<Kind> kinds()
{
    return {
        {"null", JsonType::null, JsonValue(), JsonValue()},
        {"integer", JsonType::integer, integer(-5), integer(7)},
        {"number", JsonType::real, real(1.5), real(-0.0)},
        {"boolean", JsonType::boolean, boolean(true), boolean(false)},
        {"string", JsonType::string, string("short"), string(longText)},
        {"object", JsonType::object, object({{"a", array({string("deep")})}, {"b", integer(1)}}),
         object({{"a", object({})}, {"c", boolean(true)}})},
        {"array", JsonType::array, array({integer(1), object({{"a", string("deep")}})}),
         array({string(longText), array({}), JsonValue()})},
        {"unknown", JsonType::unknown, unknown(), unknown()},
    };
}

/// Where the content stands; null for a value without any.
const void* payloadOf(JsonValue& value)
{
    switch (value.type()) {
    case JsonType::integer:
        return &value.integer();
    case JsonType::real:
        return &value.real();
    case JsonType::boolean:
        return &value.boolean();
    case JsonType::string:
        return &value.string();
    case JsonType::object:
        return &value.object();
    case JsonType::array:
        return &value.array();
    default:
        return nullptr;
    }
}

/// Changes the content everywhere in the tree.
void scramble(JsonValue& value)
{
    switch (value.type()) {
    case JsonType::integer:
        value.integer() += 1000;
        break;
    case JsonType::real:
        value.real() = 1000.25;
        break;
    case JsonType::boolean:
        value.boolean() = !value.boolean();
        break;
    case JsonType::string:
        value.string() += "changed";
        break;
    case JsonType::object:
        for (JsonMember& member : value.object()) {
            scramble(member.value);
        }
        value.object()["added"];
        break;
    case JsonType::array:
        for (JsonValue& element : value.array()) {
            scramble(element);
        }
        value.array().emplace_back();
        break;
    default:
        value.setInteger(1000);
        break;
    }
}

// A second name for a value, since compilers warn of "value = value".
template <typename T>
T& same(T& value)
{
    return value;
}

TEST(JsonType, HasAFixedNumberAndAShortName)
{
    static_assert(std::is_same_v<std::underlying_type_t<JsonType>, std::uint32_t>);
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
}

TEST(JsonValue, IsInitialisedToNullInsideAMember)
{
    EXPECT_EQ(JsonMember().name, "");
    EXPECT_EQ(JsonMember().value.type(), JsonType::null);
}

TEST(JsonValue, HoldsWhatItsSettersAreGiven)
{
    JsonValue value;

    value.setInteger(std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(value.type(), JsonType::integer);
    EXPECT_EQ(value.integer(), std::numeric_limits<std::int64_t>::min());

    value.setReal(std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(value.type(), JsonType::real);
    EXPECT_EQ(value.real(), std::numeric_limits<double>::denorm_min());

    value.setBoolean(true);
    EXPECT_EQ(value.type(), JsonType::boolean);
    EXPECT_TRUE(value.boolean());
    value.setBoolean(false);
    EXPECT_EQ(value.type(), JsonType::boolean);
    EXPECT_FALSE(value.boolean());

    const std::string anyBytes("\0\x01\xff\"\0", 5);
    value.setString(anyBytes);
    EXPECT_EQ(value.type(), JsonType::string);
    EXPECT_EQ(value.string(), anyBytes);

    value.setObject(members({{"k", integer(1)}}));
    EXPECT_EQ(value.type(), JsonType::object);
    EXPECT_EQ(value.object(), members({{"k", integer(1)}}));

    value.setArray({integer(1), string("two")});
    EXPECT_EQ(value.type(), JsonType::array);
    EXPECT_EQ(value.array(), (JsonArray{integer(1), string("two")}));

    value.setUnknown();
    EXPECT_EQ(value.type(), JsonType::unknown);
}

TEST(JsonValue, GivesItsContentToReadersOfAConstValue)
{
    const JsonValue anInteger = integer(-5);
    const JsonValue aNumber = real(1.5);
    const JsonValue aBoolean = boolean(true);
    const JsonValue aString = string("s");
    const JsonValue anObject = object({{"k", integer(1)}});
    const JsonValue anArray = array({integer(1)});
    EXPECT_EQ(anInteger.integer(), -5);
    EXPECT_EQ(aNumber.real(), 1.5);
    EXPECT_TRUE(aBoolean.boolean());
    EXPECT_EQ(aString.string(), "s");
    EXPECT_EQ(anObject.object(), members({{"k", integer(1)}}));
    EXPECT_EQ(anArray.array(), JsonArray{integer(1)});
}

TEST(JsonValue, ChangesKindByAnySetterFromAnyKind)
{
    for (const Kind& from : kinds()) {
        SCOPED_TRACE(from.name);
        JsonValue value = from.value;
        value.setInteger(3);
        EXPECT_EQ(value, integer(3));
        value = from.value;
        value.setReal(3.5);
        EXPECT_EQ(value, real(3.5));
        value = from.value;
        value.setBoolean(true);
        EXPECT_EQ(value, boolean(true));
        value = from.value;
        value.setString("set");
        EXPECT_EQ(value, string("set"));
        value = from.value;
        value.setObject(members({{"set", JsonValue()}}));
        EXPECT_EQ(value, object({{"set", JsonValue()}}));
        value = from.value;
        value.setArray({JsonValue()});
        EXPECT_EQ(value, array({JsonValue()}));
        value = from.value;
        value.setUnknown();
        EXPECT_EQ(value.type(), JsonType::unknown);
        value = from.value;
        value.reset();
        EXPECT_EQ(value.type(), JsonType::null);
    }
}

TEST(JsonValue, KeepsItsPayloadInPlaceIfASetterKeepsTheKind)
{
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.name);
        JsonValue value = kind.value;
        const void* const place = payloadOf(value);
        switch (kind.type) {
        case JsonType::integer:
            value.setInteger(7);
            break;
        case JsonType::real:
            value.setReal(-0.0);
            break;
        case JsonType::boolean:
            value.setBoolean(false);
            break;
        case JsonType::string:
            value.setString(longText);
            break;
        case JsonType::object:
            value.setObject(kind.other.object());
            break;
        case JsonType::array:
            value.setArray(kind.other.array());
            break;
        default:
            break;
        }
        EXPECT_EQ(value, kind.other);
        EXPECT_EQ(payloadOf(value), place);
    }
}

TEST(JsonValue, IsChangedInPlaceThroughItsPayload)
{
    for (const Kind& kind : kinds()) {
        if (kind.type == JsonType::null || kind.type == JsonType::unknown) {
            continue;  // there is no payload to change
        }
        SCOPED_TRACE(kind.name);
        JsonValue value = kind.value;
        scramble(value);
        EXPECT_EQ(value.type(), kind.type);
        EXPECT_FALSE(value == kind.value);
    }
}

TEST(JsonValue, CanBeResetAgainAndAgain)
{
    JsonValue value = string(longText);
    value.reset();
    value.reset();
    EXPECT_EQ(value.type(), JsonType::null);
    value.setString("usable");
    EXPECT_EQ(value, string("usable"));
}

TEST(JsonValue, IsCopiedDeeply)
{
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.name);
        JsonValue original = kind.value;
        JsonValue copy(original);
        EXPECT_EQ(copy.type(), kind.type);
        EXPECT_EQ(copy, kind.value);

        scramble(copy);
        EXPECT_EQ(original, kind.value) << "after a change of the copy";

        JsonValue second(original);
        scramble(original);
        EXPECT_EQ(second, kind.value) << "after a change of the original";
    }
}

TEST(JsonValue, OutlivesWhatItWasCopiedFrom)
{
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.name);
        JsonValue original = kind.value;
        const JsonValue copy(original);
        original.reset();
        EXPECT_EQ(copy, kind.value);
    }
}

TEST(JsonValue, TakesACopyByAssignmentWhateverTheTwoKindsAre)
{
    for (const Kind& target : kinds()) {
        for (const Kind& source : kinds()) {
            SCOPED_TRACE(std::string(source.name) + " to " + target.name);
            JsonValue value = target.value;
            JsonValue original = source.other;
            value = original;
            EXPECT_EQ(value.type(), source.type);
            EXPECT_EQ(value, source.other);
            EXPECT_EQ(original, source.other) << "the source is left as it was";

            scramble(value);
            EXPECT_EQ(original, source.other) << "after a change of the target";
            value = original;
            scramble(original);
            EXPECT_EQ(value, source.other) << "after a change of the source";
        }
    }
}

TEST(JsonValue, KeepsItsPayloadInPlaceIfAnAssignmentKeepsTheKind)
{
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.name);
        JsonValue value = kind.value;
        const void* const place = payloadOf(value);
        value = kind.other;
        EXPECT_EQ(value, kind.other);
        EXPECT_EQ(payloadOf(value), place);
        value = kind.value;
        EXPECT_EQ(value, kind.value);
        EXPECT_EQ(payloadOf(value), place);
    }
}

TEST(JsonValue, IsUnchangedByAssignmentToItself)
{
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.name);
        JsonValue value = kind.value;
        const void* const place = payloadOf(value);
        value = same(value);
        EXPECT_EQ(value, kind.value);
        EXPECT_EQ(payloadOf(value), place);
        value = std::move(same(value));
        EXPECT_EQ(value, kind.value);
    }
}

TEST(JsonValue, LeavesAUsableValueAfterAMove)
{
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.name);
        JsonValue original = kind.value;
        const JsonValue moved(std::move(original));
        EXPECT_EQ(moved.type(), kind.type);
        EXPECT_EQ(moved, kind.value);
        EXPECT_EQ(original.type(), kind.type);
        original.setString("usable");
        EXPECT_EQ(original, string("usable"));
        EXPECT_EQ(moved, kind.value);
    }
}

TEST(JsonValue, TakesAMovedValueByAssignmentWhateverTheTwoKindsAre)
{
    for (const Kind& target : kinds()) {
        for (const Kind& source : kinds()) {
            SCOPED_TRACE(std::string(source.name) + " to " + target.name);
            JsonValue value = target.value;
            JsonValue original = source.other;
            value = std::move(original);
            EXPECT_EQ(value, source.other);
            original = target.value;
            EXPECT_EQ(original, target.value);
        }
    }
}

TEST(JsonValue, IsMovedWithoutCopyingWhenAnArrayGrows)
{
    JsonArray elements;
    elements.push_back(string(longText));
    const char* const bytes = elements.front().string().data();
    elements.resize(elements.capacity() + 1);
    EXPECT_EQ(elements.front().string().data(), bytes);
}

TEST(JsonValue, ReleasesAStringForAnIntegerAndAnObjectForNull)
{
    JsonValue value = string(longText);
    value = integer(1);
    EXPECT_EQ(value.type(), JsonType::integer);
    EXPECT_EQ(value.integer(), 1);

    value = object({{"a", string(longText)}});
    const JsonValue null;
    value = null;
    EXPECT_EQ(value.type(), JsonType::null);
}

struct Part {
    const char* name;
    JsonValue part;
};

/// What a value may hold as a part of itself.
std::vector<Part> parts()
{
    std::vector<Part> rows;
    for (const Kind& kind : kinds()) {
        rows.push_back({kind.name, kind.other});
    }
    return rows;
}

TEST(JsonValue, TakesAnElementOfItselfByAssignment)
{
    for (const Part& row : parts()) {
        SCOPED_TRACE(row.name);
        const JsonValue whole = array({integer(1), array({row.part}), string(longText), row.part});
        JsonValue value = whole;
        value = value.array().back();
        EXPECT_EQ(value, row.part);
        value = whole;
        value = value.array()[1].array().front();
        EXPECT_EQ(value, row.part) << "from two levels down";
        value = whole;
        value = std::move(value.array().back());
        EXPECT_EQ(value, row.part) << "by a move";
        value = whole;
        value = std::move(value.array()[1].array().front());
        EXPECT_EQ(value, row.part) << "by a move from two levels down";
    }
}

TEST(JsonValue, TakesAMemberOfItselfByAssignment)
{
    for (const Part& row : parts()) {
        SCOPED_TRACE(row.name);
        const JsonValue whole =
            object({{"a", string(longText)}, {"b", row.part}, {"c", object({{"d", row.part}})}});
        JsonValue value = whole;
        value = value.object()["b"].value;
        EXPECT_EQ(value, row.part);
        value = whole;
        value = value.object()["c"].value.object()["d"].value;
        EXPECT_EQ(value, row.part) << "from two levels down";
        value = whole;
        value = std::move(value.object()["b"].value);
        EXPECT_EQ(value, row.part) << "by a move";
        value = whole;
        value = std::move(value.object()["c"].value.object()["d"].value);
        EXPECT_EQ(value, row.part) << "by a move from two levels down";
    }
}

TEST(JsonValue, CanBeAssignedToAPartOfItself)
{
    for (const Part& row : parts()) {
        SCOPED_TRACE(row.name);
        JsonValue anArray = array({row.part, integer(1)});
        const JsonValue oldArray = anArray;
        anArray.array().front() = anArray;
        EXPECT_EQ(anArray, array({oldArray, integer(1)}));

        JsonValue anObject = object({{"a", row.part}, {"b", integer(1)}});
        const JsonValue oldObject = anObject;
        anObject.object()["a"].value = anObject;
        EXPECT_EQ(anObject, object({{"a", oldObject}, {"b", integer(1)}}));
    }
}

TEST(JsonValue, TakesItsOwnContentThroughASetter)
{
    JsonValue text = string(longText);
    text.setString(text.string());
    EXPECT_EQ(text, string(longText));

    JsonValue inner = array({array({string(longText)}), integer(1)});
    inner.setArray(inner.array().front().array());
    EXPECT_EQ(inner, array({string(longText)}));

    JsonValue tree = object({{"a", object({{"b", string(longText)}})}});
    tree.setObject(tree.object()["a"].value.object());
    EXPECT_EQ(tree, object({{"b", string(longText)}}));

    JsonValue element = array({string(longText)});
    element.setString(element.array().front().string());
    EXPECT_EQ(element, string(longText));
}

}  // namespace
