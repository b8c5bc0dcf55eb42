// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonObject.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/json/Trees.h"

using namespace std::string_literals;

namespace {

std::vector<std::string> keysOf(const JsonObject& object)
{
    std::vector<std::string> keys;
    for (const auto& [key, member] : object) {
        keys.push_back(key);
    }
    return keys;
}

// A second name for an object, since compilers warn of "object = object".
JsonObject& same(JsonObject& object)
{
    return object;
}

}  // namespace

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
        storeMember(tree, *key, JsonValue());
    }
    EXPECT_EQ(keysOf(tree), ordered);
}

TEST(JsonObject, ListsItsMembersByKeyWhateverTheOrderTheyWereStoredIn)
{
    JsonObject tree;
    for (const char* key : {"b", "a", "ab"}) {
        storeMember(tree, key, JsonValue());
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

TEST(StoreMember, AddsAMemberThatKnowsItsKey)
{
    JsonObject tree;
    storeMember(tree, "key", integer(5));
    ASSERT_EQ(keysOf(tree), std::vector<std::string>{"key"});
    EXPECT_EQ(tree["key"].name, "key");
    EXPECT_EQ(tree["key"].value, integer(5));
}

TEST(StoreMember, AddsAMemberAtEveryPlaceAmongOthers)
{
    for (const std::string key : {"", "a", "c", "bb", "z"}) {
        SCOPED_TRACE(key);
        JsonObject tree = members({{"b", integer(1)}, {"d", integer(2)}});
        storeMember(tree, key, boolean(true));
        EXPECT_EQ(tree, members({{"b", integer(1)}, {"d", integer(2)}, {key, boolean(true)}}));
    }
}

TEST(StoreMember, TakesAKeyOfAnyBytes)
{
    JsonObject tree;
    for (const std::string& key : {""s, "\0"s, "a"s, "a\0b"s, "\xff"s, "\"\\\n"s}) {
        storeMember(tree, key, string(key));
    }
    EXPECT_EQ(tree, members({{"", string("")},
                             {"\0"s, string("\0"s)},
                             {"a", string("a")},
                             {"a\0b"s, string("a\0b"s)},
                             {"\xff", string("\xff")},
                             {"\"\\\n", string("\"\\\n")}}));
}

TEST(StoreMember, GivesAMemberThatIsThereTheNewValue)
{
    for (const char* key : {"a", "b", "c"}) {
        SCOPED_TRACE(key);
        JsonObject tree = members({{"a", integer(1)}, {"b", string("old")}, {"c", object({})}});
        JsonObject expected = tree;
        expected[key].value = array({boolean(true)});
        storeMember(tree, key, array({boolean(true)}));
        EXPECT_EQ(tree, expected);
    }
}

TEST(StoreMember, MovesNoMember)
{
    JsonObject tree = members({{"b", integer(1)}, {"d", integer(2)}});
    const JsonMember* const b = &tree["b"];
    const JsonMember* const d = &tree["d"];
    storeMember(tree, "a", integer(3));
    storeMember(tree, "c", integer(4));
    storeMember(tree, "b", string("new value"));
    storeMember(tree, "e", integer(5));
    EXPECT_EQ(&tree["b"], b);
    EXPECT_EQ(&tree["d"], d);
}

TEST(StoreMember, RepairsTheNameOfAMemberThatIsThere)
{
    JsonObject tree = members({{"a", integer(1)}});
    tree["a"].name = "astray";
    storeMember(tree, "a", integer(2));
    EXPECT_EQ(tree, members({{"a", integer(2)}}));
}

TEST(EraseMember, RemovesTheMemberAndReturnsOne)
{
    for (const char* key : {"a", "b", "c"}) {
        SCOPED_TRACE(key);
        JsonObject tree = members(
            {{"a", object({{"x", string("y")}})}, {"b", string("s")}, {"c", array({integer(1)})}});
        JsonObject expected = tree;
        expected.erase(key);
        EXPECT_EQ(eraseMember(tree, key), 1);
        EXPECT_EQ(tree, expected);
    }
}

TEST(EraseMember, ReturnsZeroAndChangesNothingWhereTheKeyIsMissing)
{
    const JsonObject content = members({{"a", integer(1)}, {"ab", integer(2)}});
    for (const std::string& key : {""s, "A"s, "b"s, "abc"s, "a\0"s}) {
        SCOPED_TRACE(key);
        JsonObject tree = content;
        EXPECT_EQ(eraseMember(tree, key), 0);
        EXPECT_EQ(tree, content);
    }
    JsonObject empty;
    EXPECT_EQ(eraseMember(empty, "a"), 0);
    EXPECT_TRUE(empty.empty());
}

TEST(EraseMember, FindsAKeyOnlyOnce)
{
    JsonObject tree = members({{"a", integer(1)}});
    EXPECT_EQ(eraseMember(tree, "a"), 1);
    EXPECT_EQ(eraseMember(tree, "a"), 0);
    EXPECT_TRUE(tree.empty());
}

TEST(EraseMember, TakesTheNameInsideTheMemberAsItsKey)
{
    const std::string key(100, 'k');
    JsonObject tree = members({{key, integer(1)}, {"other", integer(2)}});
    EXPECT_EQ(eraseMember(tree, tree[key].name), 1);
    EXPECT_EQ(tree, members({{"other", integer(2)}}));
}

TEST(EraseMember, FindsAKeyThatHoldsANulByte)
{
    JsonObject tree = members({{"a", integer(1)}, {"a\0b"s, integer(2)}});
    EXPECT_EQ(eraseMember(tree, "a\0b"s), 1);
    EXPECT_EQ(tree, members({{"a", integer(1)}}));
}

TEST(MergeObject, TakesTheSourcesValueForAKeyThatBothHave)
{
    JsonObject target = members({{"b", integer(3)}, {"c", integer(4)}});
    const JsonObject source = members({{"a", integer(1)}, {"b", integer(2)}});
    mergeObject(target, source);
    EXPECT_EQ(target, members({{"a", integer(1)}, {"b", integer(2)}, {"c", integer(4)}}));
    EXPECT_EQ(source, members({{"a", integer(1)}, {"b", integer(2)}}));
}

TEST(MergeObject, ChangesNothingByAnEmptySource)
{
    const JsonObject content = members({{"a", integer(1)}});
    JsonObject target = content;
    mergeObject(target, JsonObject());
    EXPECT_EQ(target, content);
}

TEST(MergeObject, CopiesTheSourceIntoAnEmptyTarget)
{
    const JsonObject source = members({{"a", integer(1)}, {"b", string("s")}});
    JsonObject target;
    mergeObject(target, source);
    EXPECT_EQ(target, source);
}

TEST(MergeObject, ReplacesAnObjectWholeInsteadOfMergingItsMembers)
{
    JsonObject target = members({{"a", object({{"x", integer(1)}})}});
    mergeObject(target, members({{"a", object({{"y", integer(2)}})}}));
    EXPECT_EQ(target, members({{"a", object({{"y", integer(2)}})}}));
}

TEST(MergeObject, ChangesTheKindOfAValue)
{
    JsonObject target = members({{"a", string("s")}, {"b", array({integer(1)})}});
    mergeObject(target, members({{"a", JsonValue()}, {"b", string("t")}}));
    EXPECT_EQ(target, members({{"a", JsonValue()}, {"b", string("t")}}));
}

TEST(MergeObject, CopiesDeeply)
{
    JsonObject source = members({{"a", array({string("s")})}});
    JsonObject target;
    mergeObject(target, source);
    source["a"].value.array().front().string() = "changed";
    EXPECT_EQ(target, members({{"a", array({string("s")})}}));
    target["a"].value.array().clear();
    EXPECT_EQ(source, members({{"a", array({string("changed")})}}));
}

TEST(MergeObject, ChangesNothingWhereTheSourceIsTheTarget)
{
    const JsonObject content =
        members({{"a", array({string("s")})}, {"b", object({{"c", integer(1)}})}});
    JsonObject tree = content;
    mergeObject(tree, tree);
    EXPECT_EQ(tree, content);
}

TEST(MergeObject, TakesAPartOfTheTarget)
{
    JsonObject tree =
        members({{"a", object({{"b", integer(2)}, {"c", integer(3)}})}, {"b", integer(1)}});
    mergeObject(tree, tree["a"].value.object());
    EXPECT_EQ(tree, members({{"a", object({{"b", integer(2)}, {"c", integer(3)}})},
                             {"b", integer(2)},
                             {"c", integer(3)}}));
}

TEST(MergeObject, TakesAPartOfTheTargetThatReplacesItself)
{
    const std::string longText(100, 'x');
    JsonObject tree =
        members({{"a", object({{"a", integer(1)}, {"b", string(longText)}, {"c", integer(3)}})}});
    mergeObject(tree, tree["a"].value.object());
    EXPECT_EQ(tree, members({{"a", integer(1)}, {"b", string(longText)}, {"c", integer(3)}}));
}

TEST(MergeObject, MergesAWholeIntoAPartOfIt)
{
    JsonObject tree = members({{"a", object({{"b", integer(2)}})}, {"c", integer(3)}});
    const JsonObject before = tree;
    mergeObject(tree["a"].value.object(), tree);
    JsonObject part = before;
    part["b"] = JsonMember{"b", integer(2)};
    EXPECT_EQ(tree["a"].value.object(), part);
    EXPECT_EQ(tree["c"].value, integer(3));
    EXPECT_EQ(tree.size(), 2U);
}
