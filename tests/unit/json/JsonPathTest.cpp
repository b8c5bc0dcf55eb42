// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonPath.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/unit/json/Trees.h"

using namespace std::string_literals;

namespace {

using Keys = std::vector<const char*>;

const Keys flag = {"App", "isEncoder"};

static_assert(
    std::is_same_v<decltype(findPath(std::declval<const JsonObject&>(), flag)), const JsonValue*>);
static_assert(std::is_same_v<decltype(findPath(std::declval<JsonObject&>(), flag)), JsonValue*>);

/// Both forms of the lookup lead to the same.
const JsonValue* find(JsonObject& root, const Keys& keys)
{
    const JsonValue* const found = findPath(root, keys);
    EXPECT_EQ(findPath(std::as_const(root), keys), found);
    return found;
}

JsonMember memberHolding(JsonValue value)
{
    return {"container", std::move(value)};
}

/// The shared empty member, which any miss leads to.
JsonMember& sharedEmptyMember()
{
    static JsonMember holdsNothing;
    return findMember(holdsNothing, "any");
}

/// The same without what an earlier test wrote to it.
JsonMember& clearedEmptyMember()
{
    (void)findPath(JsonObject(), flag);
    return sharedEmptyMember();
}

TEST(JsonPath, LeadsToTheValueInsideTheTree)
{
    JsonObject root =
        members({{"App", object({{"isEncoder", boolean(true)},
                                 {"deep", object({{"", object({{"\xc3\xa4", JsonValue()}})}})}})},
                 {"a/b", integer(4)},
                 {"a\0b"s, integer(3)}});
    JsonObject& app = root["App"].value.object();
    const JsonValue& deepest = app["deep"].value.object()[""].value.object()["\xc3\xa4"].value;
    struct Row {
        Keys keys;
        const JsonValue* expected;
    };
    const std::vector<Row> rows = {
        {{}, nullptr},
        {{"App"}, &root["App"].value},
        {{"App", "isEncoder"}, &app["isEncoder"].value},
        {{"App", "deep", "", "\xc3\xa4"}, &deepest},
        {{"App", "deep", "", "\xc3\xa4", "more"}, nullptr},
        {{"App", "deep", "missing", "\xc3\xa4"}, nullptr},
        {{"a/b"}, &root["a/b"].value},
        {{"a", "b"}, nullptr},
        {{"a\0b"}, nullptr},  // the key ends at its NUL
        {{"app", "isEncoder"}, nullptr},
        {{"App", "isEncode"}, nullptr},
        {{"App", "isEncoders"}, nullptr},
        {{"App", ""}, nullptr},
        {{"isEncoder"}, nullptr},
    };
    const JsonObject before = root;
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.keys));
        EXPECT_EQ(find(root, row.keys), row.expected);
    }
    EXPECT_EQ(root, before);
    JsonObject empty;
    EXPECT_EQ(find(empty, flag), nullptr);
    EXPECT_TRUE(empty.empty());
}

TEST(JsonPath, LeadsToAValueOfAnyKindAndThroughObjectsOnly)
{
    for (const JsonValue& value :
         {JsonValue(), integer(5), real(1.5), boolean(false), string("isEncoder"), unknown(),
          array({object({{"isEncoder", boolean(true)}})}), object({{"is", boolean(true)}})}) {
        SCOPED_TRACE(testing::PrintToString(value));
        JsonObject root = members({{"App", object({{"isEncoder", value}})}, {"other", value}});
        const JsonValue* const found = find(root, flag);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found->type(), value.type());
        EXPECT_EQ(*found, value);
        EXPECT_EQ(find(root, {"other", "isEncoder"}), nullptr);
        EXPECT_EQ(find(root, {"other", "isEncoder", "more"}), nullptr);
    }
}

const std::string nullKey = "a key of a path is null";

/// What the logic error says that the call throws.
template <typename Call>
std::string messageOf(Call call)
{
    try {
        call();
    } catch (const std::logic_error& error) {
        return error.what();
    }
    return "nothing is thrown";
}

TEST(JsonPath, ThrowsOnANullKeyUnlessAMissComesFirst)
{
    struct Row {
        const char* name;
        Keys keys;
        bool throws;
    };
    const std::vector<Row> rows = {
        {"alone", {nullptr}, true},
        {"first", {nullptr, "isEncoder"}, true},
        {"second", {"App", nullptr}, true},
        {"third", {"App", "isEncoder", nullptr}, true},
        {"after a number", {"n", nullptr}, true},
        {"after a miss", {"missing", nullptr}, false},
        {"after a miss further on", {"App", "missing", nullptr}, false},
        {"after a miss in a number", {"n", "missing", nullptr}, false},
    };
    JsonObject root = members({{"App", object({{"isEncoder", boolean(true)}})}, {"n", integer(1)}});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.throws) {
            EXPECT_EQ(messageOf([&] { (void)findPath(root, row.keys); }), nullKey);
            EXPECT_EQ(messageOf([&] { (void)findPath(std::as_const(root), row.keys); }), nullKey);
        } else {
            EXPECT_EQ(find(root, row.keys), nullptr);
        }
    }
}

TEST(JsonPath, ClearsTheSharedEmptyMemberByAnyLookupWithAKey)
{
    struct Row {
        const char* name;
        Keys keys;
        bool clears;
    };
    const std::vector<Row> rows = {
        {"no key", {}, false},
        {"a hit", {"App", "isEncoder"}, true},
        {"a hit of one key", {"App"}, true},
        {"a miss at once", {"missing"}, true},
        {"a miss of a name that was written", {"written"}, true},
        {"a miss further on", {"App", "missing"}, true},
        {"a miss in no object", {"App", "isEncoder", "isEncoder"}, true},
    };
    const JsonValue written = object({{"isEncoder", boolean(true)}});
    JsonObject root = members({{"App", object({{"isEncoder", boolean(true)}})}});
    for (const Row& row : rows) {
        for (const bool isReadOnly : {false, true}) {
            SCOPED_TRACE(row.name + (isReadOnly ? ", read-only"s : ""));
            JsonMember& shared = sharedEmptyMember();
            shared.name = "written";
            shared.value = written;
            const JsonValue* const found =
                isReadOnly ? findPath(std::as_const(root), row.keys) : findPath(root, row.keys);
            EXPECT_NE(found, &shared.value);
            EXPECT_EQ(shared.name, row.clears ? "" : "written");
            EXPECT_EQ(shared.value, row.clears ? JsonValue() : written);
        }
    }
}

TEST(JsonMemberAccess, LeadsToTheMemberInsideTheTree)
{
    JsonMember container = memberHolding(object({{"", integer(1)}, {"a\0b"s, integer(2)}}));
    JsonObject& tree = container.value.object();
    EXPECT_EQ(&findMember(container, ""), &tree[""]);
    EXPECT_EQ(&findMember(container, "a\0b"s), &tree["a\0b"s]);
    findMember(container, "").value.setBoolean(true);
    EXPECT_EQ(tree, members({{"", boolean(true)}, {"a\0b"s, integer(2)}}));
}

TEST(JsonMemberAccess, GivesTheSharedEmptyMemberOnEveryMiss)
{
    JsonMember& shared = clearedEmptyMember();
    for (const JsonValue& value :
         {JsonValue(), integer(5), real(1.5), boolean(true), string("a"), object({}),
          object({{"b", integer(1)}}), array({integer(1)}), unknown()}) {
        SCOPED_TRACE(testing::PrintToString(value));
        JsonMember container = memberHolding(value);
        EXPECT_EQ(&findMember(container, "a"), &shared);
        EXPECT_EQ(container.value, value) << "nothing is added to the container";
    }
    EXPECT_EQ(&findMember(shared, "a"), &shared) << "from a miss to another one";
    EXPECT_EQ(shared.name, "");
    EXPECT_EQ(shared.value.type(), JsonType::null);
}

TEST(JsonMemberAccess, ShowsWhatWasWrittenThroughAMissUntilTheNextLookup)
{
    JsonMember container = memberHolding(object({}));
    JsonMember other = memberHolding(integer(1));
    findMember(container, "a").value.setString("written");
    EXPECT_EQ(findMember(other, "b").value, string("written"));
    EXPECT_EQ(container.value, object({}));
    EXPECT_EQ(clearedEmptyMember().value.type(), JsonType::null);
}

}  // namespace
