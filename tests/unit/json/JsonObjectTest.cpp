// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonObject.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>
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

// A second name for an object, since compilers warn of "object = object".
JsonObject& same(JsonObject& object)
{
    return object;
}

TEST(JsonObject, IsEmptyByDefault)
{
    EXPECT_TRUE(JsonObject().empty());
}

TEST(JsonObject, OrdersKeysByUnsignedBytesAndShorterFirst)
{
    const std::vector<std::string> ordered = {
        "",     "\0"s,  "\0\0"s, "\x01",  " ",        "A",    "App",
        "Zeta", "a",    "a\0"s,  "a\0b"s, "a\x01",    "ab",   "alpha",
        "b",    "\x7f", "\x80",  "\x80z", "\xc3\xa4", "\xff", "\xff\xff"};
    JsonObject tree;
    for (auto key = ordered.rbegin(); key != ordered.rend(); ++key) {
        tree.insertOrAssign(*key, JsonValue());
    }
    EXPECT_EQ(keysOf(tree), ordered);
}

TEST(JsonObject, ListsItsMembersByKeyWhateverTheOrderTheyWereStoredIn)
{
    JsonObject tree;
    for (const char* key : {"b", "a", "ab"}) {
        tree.insertOrAssign(key, JsonValue());
    }
    EXPECT_EQ(keysOf(tree), (std::vector<std::string>{"a", "ab", "b"}));
}

TEST(JsonObject, IsCopiedDeeplyByAssignment)
{
    const JsonObject content =
        members({{"a", object({{"x", integer(1)}})}, {"b", array({string("y")})}});
    JsonObject source = content;
    JsonObject target = members({{"a", integer(5)}, {"only here", integer(6)}});
    target = source;
    EXPECT_EQ(target, content);

    target["a"].value.object()["x"].value.setInteger(2);
    target["b"].value.array().clear();
    EXPECT_EQ(source, content);
    target = source;
    source.clear();
    EXPECT_EQ(target, content);
}

TEST(JsonObject, IsUnchangedByAssignmentToItself)
{
    const JsonObject content = members({{"a", object({{"x", integer(1)}})}});
    JsonObject tree = content;
    tree = same(tree);
    EXPECT_EQ(tree, content);
}

struct Overlap {
    const char* name;
    JsonObject whole;
    JsonObject expectedWhole;  // after the assignment of the part "a" to the whole
    JsonObject expectedPart;   // after the assignment of the whole to the part "a"
};

/// Objects whose member "a" is an object, with short strings and with strings of their own memory.
std::vector<Overlap> overlaps()
{
    std::vector<Overlap> rows;
    for (const std::size_t length : {1U, 60U}) {
        const JsonValue text = string(std::string(length, 'x'));
        const JsonObject part = members({{"b", text}, {"c", integer(2)}});
        const JsonObject sameKey = members({{"a", text}, {"y", text}});
        const JsonObject outer =
            members({{"a", object({{"b", text}, {"c", integer(2)}})}, {"z", text}});
        const JsonObject outerSameKey = members({{"a", object({{"a", text}, {"y", text}})}});
        rows.push_back({"keys of its own", outer, part, outer});
        rows.push_back({"a key of the whole", outerSameKey, sameKey, outerSameKey});
    }
    return rows;
}

JsonObject& partOf(JsonObject& whole)
{
    return whole.find("a")->value.object();
}

TEST(JsonObjectAssignment, TakesAPartOfTheObject)
{
    for (const Overlap& row : overlaps()) {
        SCOPED_TRACE(row.name);
        JsonObject copied = row.whole;
        copied = partOf(copied);
        EXPECT_EQ(copied, row.expectedWhole);
        JsonObject moved = row.whole;
        moved = std::move(partOf(moved));
        EXPECT_EQ(moved, row.expectedWhole) << "by a move";
    }
}

TEST(JsonObjectAssignment, CopiesTheObjectIntoAPartOfIt)
{
    for (const Overlap& row : overlaps()) {
        SCOPED_TRACE(row.name);
        JsonObject tree = row.whole;
        partOf(tree) = tree;
        EXPECT_EQ(partOf(tree), row.expectedPart);
        EXPECT_EQ(tree.size(), row.whole.size());
    }
}

TEST(JsonObjectAssignment, ChangesNothingByAMoveToItself)
{
    const JsonObject content = members({{"a", object({{"x", string(std::string(60, 'x'))}})}});
    JsonObject tree = content;
    tree = std::move(same(tree));
    EXPECT_EQ(tree, content);
}

TEST(JsonObject, IsEmptyOnceItIsCleared)
{
    JsonObject tree = members({{"a", integer(1)}, {"b", string("s")}});
    tree.clear();
    EXPECT_TRUE(tree.empty());
    EXPECT_EQ(tree.find("a"), nullptr);
}

TEST(JsonObjectFromMembers, OrdersMembersByKeyAndKeepsTheLastOfEach)
{
    struct Row {
        const char* name;
        std::vector<JsonMember> text;
        JsonObject expected;
    };
    const std::vector<Row> rows = {
        {"none", {}, {}},
        {"in order",
         {{"a", integer(1)}, {"b", integer(2)}},
         members({{"a", integer(1)}, {"b", integer(2)}})},
        {"backwards",
         {{"b", integer(2)}, {"ab", integer(3)}, {"a", integer(1)}},
         members({{"a", integer(1)}, {"ab", integer(3)}, {"b", integer(2)}})},
        {"an empty key",
         {{"\0"s, integer(2)}, {"", integer(1)}},
         members({{"", integer(1)}, {"\0"s, integer(2)}})},
        {"bytes above 127",
         {{"\xff", integer(3)}, {"\x7f", integer(1)}, {"\x80", integer(2)}},
         members({{"\x7f", integer(1)}, {"\x80", integer(2)}, {"\xff", integer(3)}})},
        {"one key twice",
         {{"a", string("first")}, {"a", integer(2)}},
         members({{"a", integer(2)}})},
        {"one key thrice between others",
         {{"b", integer(1)},
          {"c", integer(2)},
          {"b", integer(3)},
          {"a", integer(4)},
          {"b", array({integer(5)})}},
         members({{"a", integer(4)}, {"b", array({integer(5)})}, {"c", integer(2)}})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<JsonMember> text = row.text;
        EXPECT_EQ(JsonObject::fromMembers(text), row.expected);
    }
}

TEST(JsonObjectFromMembers, KeepsTheLastOfManyWithTheSameKey)
{
    std::vector<JsonMember> text;
    for (int number = 0; number < 1000; ++number) {
        text.push_back({std::string(1, static_cast<char>('a' + number % 7)), integer(number)});
    }
    EXPECT_EQ(JsonObject::fromMembers(text), members({{"a", integer(994)},
                                                      {"b", integer(995)},
                                                      {"c", integer(996)},
                                                      {"d", integer(997)},
                                                      {"e", integer(998)},
                                                      {"f", integer(999)},
                                                      {"g", integer(993)}}));
}

TEST(JsonObjectFromMembers, OrdersManyKeysThatBeginAlike)
{
    std::vector<JsonMember> text;
    JsonObject expected;
    for (int number = 0; number < 100; ++number) {
        const int scattered = number * 37 % 100;
        text.push_back({"key" + std::to_string(100 + scattered), integer(scattered)});
        expected["key" + std::to_string(100 + number)].value = integer(number);
    }
    EXPECT_EQ(JsonObject::fromMembers(text), expected);
}

TEST(JsonObjectInsertOrAssign, AddsAMemberThatKnowsItsKey)
{
    JsonObject tree;
    tree.insertOrAssign("key", integer(5));
    ASSERT_EQ(keysOf(tree), std::vector<std::string>{"key"});
    EXPECT_EQ(tree["key"].name, "key");
    EXPECT_EQ(tree["key"].value, integer(5));
}

TEST(JsonObjectInsertOrAssign, AddsAMemberAtEveryPlaceAmongOthers)
{
    for (const std::string key : {"", "a", "c", "bb", "z"}) {
        SCOPED_TRACE(key);
        JsonObject tree = members({{"b", integer(1)}, {"d", integer(2)}});
        tree.insertOrAssign(key, boolean(true));
        EXPECT_EQ(tree, members({{"b", integer(1)}, {"d", integer(2)}, {key, boolean(true)}}));
    }
}

TEST(JsonObjectInsertOrAssign, TakesAKeyOfAnyBytes)
{
    JsonObject tree;
    for (const std::string& key : {""s, "\0"s, "a"s, "a\0b"s, "\xff"s, "\"\\\n"s}) {
        tree.insertOrAssign(key, string(key));
    }
    EXPECT_EQ(tree, members({{"", string("")},
                             {"\0"s, string("\0"s)},
                             {"a", string("a")},
                             {"a\0b"s, string("a\0b"s)},
                             {"\xff", string("\xff")},
                             {"\"\\\n", string("\"\\\n")}}));
}

TEST(JsonObjectInsertOrAssign, GivesAMemberThatIsThereTheNewValue)
{
    for (const char* key : {"a", "b", "c"}) {
        SCOPED_TRACE(key);
        JsonObject tree = members({{"a", integer(1)}, {"b", string("old")}, {"c", object({})}});
        JsonObject expected = tree;
        expected[key].value = array({boolean(true)});
        tree.insertOrAssign(key, array({boolean(true)}));
        EXPECT_EQ(tree, expected);
    }
}

TEST(JsonObjectInsertOrAssign, TakesTheNameInsideAMemberAsItsKey)
{
    const std::string key(100, 'k');
    JsonObject tree = members({{"a", integer(1)}, {key, integer(2)}});
    tree.insertOrAssign(tree[key].name, integer(3));
    EXPECT_EQ(tree, members({{"a", integer(1)}, {key, integer(3)}}));
    tree.insertOrAssign(tree["a"].name + key, integer(4));
    EXPECT_EQ(tree, members({{"a", integer(1)}, {"a" + key, integer(4)}, {key, integer(3)}}));
}

TEST(JsonObjectErase, RemovesTheMemberAndReturnsOne)
{
    for (const char* key : {"a", "b", "c"}) {
        SCOPED_TRACE(key);
        JsonObject tree = members(
            {{"a", object({{"x", string("y")}})}, {"b", string("s")}, {"c", array({integer(1)})}});
        JsonObject expected = tree;
        expected.erase(key);
        EXPECT_EQ(tree.erase(key), 1);
        EXPECT_EQ(tree, expected);
    }
}

TEST(JsonObjectErase, ReturnsZeroAndChangesNothingIfTheKeyIsMissing)
{
    const JsonObject content = members({{"a", integer(1)}, {"ab", integer(2)}});
    for (const std::string& key : {""s, "A"s, "b"s, "abc"s, "a\0"s}) {
        SCOPED_TRACE(key);
        JsonObject tree = content;
        EXPECT_EQ(tree.erase(key), 0);
        EXPECT_EQ(tree, content);
    }
    JsonObject empty;
    EXPECT_EQ(empty.erase("a"), 0);
    EXPECT_TRUE(empty.empty());
}

TEST(JsonObjectErase, FindsAKeyOnlyOnce)
{
    JsonObject tree = members({{"a", integer(1)}});
    EXPECT_EQ(tree.erase("a"), 1);
    EXPECT_EQ(tree.erase("a"), 0);
    EXPECT_TRUE(tree.empty());
}

TEST(JsonObjectErase, TakesTheNameInsideTheMemberAsItsKey)
{
    const std::string key(100, 'k');
    JsonObject tree = members({{key, integer(1)}, {"other", integer(2)}});
    EXPECT_EQ(tree.erase(tree[key].name), 1);
    EXPECT_EQ(tree, members({{"other", integer(2)}}));
}

TEST(JsonObjectErase, FindsAKeyThatHoldsANulByte)
{
    JsonObject tree = members({{"a", integer(1)}, {"a\0b"s, integer(2)}});
    EXPECT_EQ(tree.erase("a\0b"s), 1);
    EXPECT_EQ(tree, members({{"a", integer(1)}}));
}

TEST(JsonObjectMerge, TakesTheSourcesValueForAKeyThatBothHave)
{
    JsonObject target = members({{"b", integer(3)}, {"c", integer(4)}});
    const JsonObject source = members({{"a", integer(1)}, {"b", integer(2)}});
    target.merge(source);
    EXPECT_EQ(target, members({{"a", integer(1)}, {"b", integer(2)}, {"c", integer(4)}}));
    EXPECT_EQ(source, members({{"a", integer(1)}, {"b", integer(2)}}));
}

TEST(JsonObjectMerge, ChangesNothingByAnEmptySource)
{
    const JsonObject content = members({{"a", integer(1)}});
    JsonObject target = content;
    target.merge(JsonObject());
    EXPECT_EQ(target, content);
}

TEST(JsonObjectMerge, CopiesTheSourceIntoAnEmptyTarget)
{
    const JsonObject source = members({{"a", integer(1)}, {"b", string("s")}});
    JsonObject target;
    target.merge(source);
    EXPECT_EQ(target, source);
}

TEST(JsonObjectMerge, ReplacesAnObjectWholeInsteadOfMergingItsMembers)
{
    JsonObject target = members({{"a", object({{"x", integer(1)}})}});
    target.merge(members({{"a", object({{"y", integer(2)}})}}));
    EXPECT_EQ(target, members({{"a", object({{"y", integer(2)}})}}));
}

TEST(JsonObjectMerge, ChangesTheKindOfAValue)
{
    JsonObject target = members({{"a", string("s")}, {"b", array({integer(1)})}});
    target.merge(members({{"a", JsonValue()}, {"b", string("t")}}));
    EXPECT_EQ(target, members({{"a", JsonValue()}, {"b", string("t")}}));
}

TEST(JsonObjectMerge, CopiesDeeply)
{
    JsonObject source = members({{"a", array({string("s")})}});
    JsonObject target;
    target.merge(source);
    source["a"].value.array().front().string() = "changed";
    EXPECT_EQ(target, members({{"a", array({string("s")})}}));
    target["a"].value.array().clear();
    EXPECT_EQ(source, members({{"a", array({string("changed")})}}));
}

TEST(JsonObjectMerge, ChangesNothingIfTheSourceIsTheTarget)
{
    const JsonObject content =
        members({{"a", array({string("s")})}, {"b", object({{"c", integer(1)}})}});
    JsonObject tree = content;
    tree.merge(tree);
    EXPECT_EQ(tree, content);
}

TEST(JsonObjectMerge, TakesAPartOfTheTarget)
{
    JsonObject tree =
        members({{"a", object({{"b", integer(2)}, {"c", integer(3)}})}, {"b", integer(1)}});
    tree.merge(tree["a"].value.object());
    EXPECT_EQ(tree, members({{"a", object({{"b", integer(2)}, {"c", integer(3)}})},
                             {"b", integer(2)},
                             {"c", integer(3)}}));
}

TEST(JsonObjectMerge, TakesAPartOfTheTargetThatReplacesItself)
{
    const std::string longText(100, 'x');
    JsonObject tree =
        members({{"a", object({{"a", integer(1)}, {"b", string(longText)}, {"c", integer(3)}})}});
    tree.merge(tree["a"].value.object());
    EXPECT_EQ(tree, members({{"a", integer(1)}, {"b", string(longText)}, {"c", integer(3)}}));
}

TEST(JsonObjectMerge, MergesAWholeIntoAPartOfIt)
{
    JsonObject tree = members({{"a", object({{"b", integer(2)}})}, {"c", integer(3)}});
    const JsonObject before = tree;
    tree["a"].value.object().merge(tree);
    JsonObject part = before;
    part["b"].value = integer(2);
    EXPECT_EQ(tree["a"].value.object(), part);
    EXPECT_EQ(tree["c"].value, integer(3));
    EXPECT_EQ(tree.size(), 2U);
}

}  // namespace
