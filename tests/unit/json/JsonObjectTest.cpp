// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonObject.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "tests/unit/json/Trees.h"

using namespace std::string_literals;

namespace {

std::vector<std::string> keysOf(const JsonObject& object)
{
    std::vector<std::string> keys;
    for (const JsonMember& member : object) {
        keys.push_back(member.name);
    }
    return keys;
}

TEST(JsonObject, OrdersKeysByUnsignedBytesAndShorterFirst)
{
    const std::vector<std::string> ordered = {
        "",     "\0"s,  "\0\0"s, "\x01",  " ",        "A",    "App",
        "Zeta", "a",    "a\0"s,  "a\0b"s, "a\x01",    "ab",   "alpha",
        "b",    "\x7f", "\x80",  "\x80z", "\xc3\xa4", "\xff", "\xff\xff"};
    JsonObject oneByOne;
    std::vector<JsonMember> members;
    for (auto key = ordered.rbegin(); key != ordered.rend(); ++key) {
        oneByOne.insertOrAssign(*key, JsonValue());
        members.push_back({*key, JsonValue()});
    }
    EXPECT_EQ(keysOf(oneByOne), ordered);
    EXPECT_EQ(keysOf(JsonObject::fromMembers(members)), ordered);
}

TEST(JsonObject, OrdersAnyNumberOfMembers)
{
    for (std::size_t count = 0; count < 100; ++count) {
        std::vector<std::string> ordered;
        std::vector<JsonMember> members;
        for (std::size_t number = 0; number < count; ++number) {
            ordered.push_back(std::to_string(1000 + number));
            members.insert(members.begin(), {ordered.back(), JsonValue()});
        }
        const JsonObject object = JsonObject::fromMembers(members);
        EXPECT_EQ(keysOf(object), ordered);
        EXPECT_EQ(object.size(), count);
        EXPECT_EQ(object.empty(), count == 0);
    }
}

// They lie one after the other in memory. What precedes the first member of each reads as a name of
// 8 bytes at address 8.
TEST(JsonObject, LooksAtNothingInFrontOfItsFirstMember)
{
    const std::string key("\x08\0\0\0\0\0\0\0", 8);
    std::vector<JsonObject> objects;
    for (int count = 0; count < 1000; ++count) {
        std::vector<JsonMember> members = {{key, JsonValue()}};
        objects.push_back(JsonObject::fromMembers(members));
        EXPECT_EQ(keysOf(objects.back()), std::vector{key});
    }
}

TEST(JsonObject, GivesAKeyTheNewValueAndKeepsAllOthers)
{
    const JsonObject before = members({{"b", integer(1)}, {"d", string("old")}});
    struct Row {
        const char* key;
        JsonObject after;
    };
    const JsonValue yes = boolean(true);
    const std::vector<Row> rows = {
        {"", members({{"", yes}, {"b", integer(1)}, {"d", string("old")}})},
        {"b", members({{"b", yes}, {"d", string("old")}})},
        {"bb", members({{"b", integer(1)}, {"bb", yes}, {"d", string("old")}})},
        {"d", members({{"b", integer(1)}, {"d", yes}})},
        {"z", members({{"b", integer(1)}, {"d", string("old")}, {"z", yes}})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.key);
        JsonObject object = before;
        object.insertOrAssign(row.key, yes);
        EXPECT_EQ(object, row.after);
        EXPECT_EQ(object[row.key].value, yes);
        EXPECT_EQ(object, row.after);
    }
}

TEST(JsonObject, AddsNullForAKeyThatIsNotThere)
{
    JsonObject object = members({{"b", integer(1)}});
    EXPECT_EQ(object["a"].value, JsonValue());
    EXPECT_EQ(object, members({{"a", JsonValue()}, {"b", integer(1)}}));
}

TEST(JsonObject, ErasesAMemberAndReturnsHowMany)
{
    const JsonObject before = members({{"a", integer(1)}, {"ab", object({})}, {"c", string("s")}});
    struct Row {
        std::string key;
        int erased;
        JsonObject after;
    };
    const std::vector<Row> rows = {
        {"a", 1, members({{"ab", object({})}, {"c", string("s")}})},
        {"ab", 1, members({{"a", integer(1)}, {"c", string("s")}})},
        {"c", 1, members({{"a", integer(1)}, {"ab", object({})}})},
        {"", 0, before},
        {"A", 0, before},
        {"abc", 0, before},
        {"a\0"s, 0, before},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.key);
        JsonObject object = before;
        EXPECT_EQ(object.erase(row.key), row.erased);
        EXPECT_EQ(object, row.after);
        EXPECT_EQ(object.erase(row.key), 0);
        object.clear();
        EXPECT_TRUE(object.empty());
    }
}

// The members move when one is added, and with them the bytes of short keys and strings.
TEST(JsonObject, TakesAKeyAndAValueFromItsOwnMembers)
{
    const JsonObject before = members({{"b", integer(1)}, {"c", string("a")}});
    JsonObject object = before;
    object.insertOrAssign(object["c"].value.string(), object["b"].value);
    EXPECT_EQ(object, members({{"a", integer(1)}, {"b", integer(1)}, {"c", string("a")}}));
    EXPECT_EQ(object.erase(object.begin()->name), 1);
    EXPECT_EQ(object, before);
    object.insertOrAssign(object.begin()->name, object["c"].value);
    EXPECT_EQ(object, members({{"b", string("a")}, {"c", string("a")}}));
}

TEST(JsonObject, TakesTheSourcesValueForAKeyThatBothHaveInAMerge)
{
    struct Row {
        const char* name;
        JsonObject target;
        JsonObject source;
        JsonObject merged;
    };
    const JsonObject one = members({{"a", integer(1)}});
    const std::vector<Row> rows = {
        {"a key of both", members({{"b", integer(3)}, {"c", integer(4)}}),
         members({{"a", integer(1)}, {"b", integer(2)}}),
         members({{"a", integer(1)}, {"b", integer(2)}, {"c", integer(4)}})},
        {"an empty source", one, {}, one},
        {"an empty target", {}, one, one},
        {"an object is replaced whole", members({{"a", object({{"x", integer(1)}})}}),
         members({{"a", object({{"y", integer(2)}})}}),
         members({{"a", object({{"y", integer(2)}})}})},
        {"another kind", members({{"a", string("s")}}), members({{"a", JsonValue()}}),
         members({{"a", JsonValue()}})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        JsonObject target = row.target;
        target.merge(row.source);
        EXPECT_EQ(target, row.merged);
    }
}

TEST(JsonObject, MergesItselfAndItsPartsAndIsMergedIntoThem)
{
    const JsonValue part = object({{"a", integer(1)}, {"c", integer(3)}});
    const JsonObject whole = members({{"b", integer(2)}, {"c", part}});
    JsonObject tree = whole;
    tree.merge(tree);
    EXPECT_EQ(tree, whole);
    tree["c"].value.object().merge(tree);
    EXPECT_EQ(tree["c"].value, object({{"a", integer(1)}, {"b", integer(2)}, {"c", part}}));
    tree = whole;
    tree.merge(tree["c"].value.object());
    EXPECT_EQ(tree, members({{"a", integer(1)}, {"b", integer(2)}, {"c", integer(3)}}));
}

}  // namespace
