// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonPath.h"

#include <gtest/gtest.h>

#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "json/JsonWriter.h"
#include "tests/unit/json/Trees.h"

using namespace std::string_literals;

namespace {

using Keys = std::vector<const char*>;

const Keys flag = {"App", "isEncoder"};

/// The two forms of the lookup. A test of this suite claims the same of each.
enum class Form { writable, readOnly };

class JsonPath : public testing::TestWithParam<Form> {
protected:
    // Whatever an earlier test wrote to the shared empty member is gone.
    JsonPath()
    {
        JsonObject empty;
        (void)find(empty, {"any"});
    }

    static const JsonValue* find(JsonObject& root, const Keys& keys)
    {
        return GetParam() == Form::writable ? findPath(root, keys)
                                            : findPath(std::as_const(root), keys);
    }
};

INSTANTIATE_TEST_SUITE_P(Forms, JsonPath, testing::Values(Form::writable, Form::readOnly),
                         [](const auto& form) {
                             return form.param == Form::writable ? "Writable" : "ReadOnly";
                         });

JsonMember memberHolding(JsonValue value)
{
    return JsonMember{"container", std::move(value)};
}

/// The shared empty member, which any miss leads to.
JsonMember& sharedEmptyMember()
{
    static JsonMember holdsNothing;
    return findMember(holdsNothing, "any");
}

TEST_P(JsonPath, LeadsToTheValueInsideTheTree)
{
    JsonObject root = members({{"App", object({{"isEncoder", boolean(true)}})}});
    EXPECT_EQ(find(root, flag), &root["App"].value.object()["isEncoder"].value);
    EXPECT_EQ(find(root, {"App"}), &root["App"].value);
}

TEST_P(JsonPath, LeadsAsDeepAsThereAreKeys)
{
    JsonObject root =
        members({{"a", object({{"b", object({{"c", object({{"d", integer(4)}})}})}})}});
    const JsonValue* const found = find(root, {"a", "b", "c", "d"});
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(*found, integer(4));
    EXPECT_EQ(find(root, {"a", "b", "c", "d", "e"}), nullptr);
    EXPECT_EQ(find(root, {"a", "b", "x", "d"}), nullptr);
}

TEST_P(JsonPath, LeadsNowhereWithoutKeys)
{
    JsonObject root = members({{"App", object({{"isEncoder", boolean(true)}})}, {"", integer(1)}});
    EXPECT_EQ(find(root, {}), nullptr);
}

TEST_P(JsonPath, LeadsNowhereInAnEmptyObject)
{
    JsonObject root;
    EXPECT_EQ(find(root, {"App"}), nullptr);
    EXPECT_EQ(find(root, flag), nullptr);
    EXPECT_TRUE(root.empty());
}

TEST_P(JsonPath, LeadsNowhereIfAKeyIsMissing)
{
    JsonObject root =
        members({{"App", object({{"Name", string("dec")}})}, {"isEncoder", boolean(true)}});
    const JsonObject before = root;
    EXPECT_EQ(find(root, flag), nullptr);
    EXPECT_EQ(find(root, {"app", "Name"}), nullptr);
    EXPECT_EQ(find(root, {"App", "name"}), nullptr);
    EXPECT_EQ(find(root, {"App", "Nam"}), nullptr);
    EXPECT_EQ(find(root, {"App", "Names"}), nullptr);
    EXPECT_EQ(find(root, {"App", "isEncoder"}), nullptr);
    EXPECT_EQ(find(root, {"App", ""}), nullptr);
    EXPECT_EQ(root, before);
}

TEST_P(JsonPath, LeadsNowhereThroughAValueThatIsNoObject)
{
    struct Row {
        const char* name;
        JsonValue value;
    };
    const std::vector<Row> rows = {
        {"null", JsonValue()},           {"integer", integer(5)},
        {"number", real(1.5)},           {"boolean", boolean(true)},
        {"string", string("isEncoder")}, {"array", array({object({{"isEncoder", boolean(true)}})})},
        {"unknown", unknown()},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        JsonObject root = members({{"App", row.value}});
        EXPECT_EQ(find(root, flag), nullptr);
        EXPECT_EQ(find(root, {"App", "isEncoder", "more"}), nullptr);
        EXPECT_EQ(root, members({{"App", row.value}}));
    }
}

TEST_P(JsonPath, LeadsToAValueOfAnyKind)
{
    for (const JsonValue& value :
         {JsonValue(), integer(5), real(1.5), boolean(false), string("true"),
          object({{"isEncoder", boolean(true)}}), array({boolean(true)}), unknown()}) {
        SCOPED_TRACE(shortName(value.type()));
        JsonObject root = members({{"App", object({{"isEncoder", value}})}});
        const JsonValue* const found = find(root, flag);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found->type(), value.type());
        EXPECT_EQ(*found, value);
    }
}

TEST_P(JsonPath, ComparesKeysByteByByte)
{
    JsonObject root = members({{"", object({{"", integer(1)}})},
                               {"\xc3\xa4", integer(2)},
                               {"a\0b"s, integer(3)},
                               {"a/b", integer(4)}});
    EXPECT_EQ(find(root, {"", ""}), &root[""].value.object()[""].value);
    EXPECT_EQ(find(root, {"\xc3\xa4"}), &root["\xc3\xa4"].value);
    EXPECT_EQ(find(root, {"a/b"}), &root["a/b"].value);
    EXPECT_EQ(find(root, {"a", "b"}), nullptr);
    EXPECT_EQ(find(root, {"a\0b"}), nullptr) << "a key of a path ends at its NUL";
}

TEST_P(JsonPath, ReadsAsManyKeysAsItIsGiven)
{
    JsonObject root = members({{"App", object({{"isEncoder", boolean(true)}})}});
    const std::span<const char* const> first(flag.data(), 1);
    const JsonValue* const found =
        GetParam() == Form::writable ? findPath(root, first) : findPath(std::as_const(root), first);
    EXPECT_EQ(found, &root["App"].value);
}

TEST_P(JsonPath, ThrowsOnANullKey)
{
    JsonObject root = members({{"App", object({{"isEncoder", boolean(true)}})}, {"n", integer(1)}});
    EXPECT_THROW((void)find(root, {nullptr}), std::logic_error);
    EXPECT_THROW((void)find(root, {nullptr, "isEncoder"}), std::logic_error);
    EXPECT_THROW((void)find(root, {"App", nullptr}), std::logic_error);
    EXPECT_THROW((void)find(root, {"App", "isEncoder", nullptr}), std::logic_error);
    EXPECT_THROW((void)find(root, {"n", nullptr}), std::logic_error);
    EXPECT_EQ(find(root, flag), &root["App"].value.object()["isEncoder"].value);
}

TEST_P(JsonPath, NeverLooksAtANullKeyAfterAMiss)
{
    JsonObject root = members({{"App", object({})}, {"n", integer(1)}});
    EXPECT_EQ(find(root, {"missing", nullptr}), nullptr);
    EXPECT_EQ(find(root, {"App", "missing", nullptr}), nullptr);
    EXPECT_EQ(find(root, {"n", "missing", nullptr}), nullptr);
}

TEST_P(JsonPath, ClearsTheSharedEmptyMember)
{
    struct Row {
        const char* name;
        Keys keys;
    };
    const std::vector<Row> rows = {
        {"a hit", {"App", "isEncoder"}},
        {"a hit of one key", {"App"}},
        {"a miss at once", {"missing"}},
        {"a miss further on", {"App", "missing"}},
        {"a miss in no object", {"App", "isEncoder", "missing"}},
    };
    JsonObject root = members({{"App", object({{"isEncoder", boolean(true)}})}});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        JsonMember& shared = sharedEmptyMember();
        shared.name = "written";
        shared.value = object({{"isEncoder", boolean(true)}});
        (void)find(root, row.keys);
        EXPECT_EQ(shared.name, "");
        EXPECT_EQ(shared.value.type(), JsonType::null);
    }
}

TEST_P(JsonPath, LeavesTheSharedEmptyMemberAloneWithoutKeys)
{
    JsonObject root = members({{"App", integer(1)}});
    JsonMember& shared = sharedEmptyMember();
    shared.name = "written";
    shared.value.setInteger(5);
    ASSERT_EQ(find(root, {}), nullptr);
    EXPECT_EQ(shared.name, "written");
    EXPECT_EQ(shared.value, integer(5));
}

TEST_P(JsonPath, NeverFindsWhatWasWrittenThroughAMiss)
{
    JsonObject root = members({{"App", integer(1)}});
    JsonMember& shared = sharedEmptyMember();
    shared.name = "App";
    shared.value = object({{"isEncoder", boolean(true)}});
    EXPECT_EQ(find(root, flag), nullptr);
    EXPECT_EQ(find(root, {"isEncoder"}), nullptr);
}

TEST(JsonPath, GivesAReadOnlyValueOfAReadOnlyTree)
{
    static_assert(std::is_same_v<decltype(findPath(std::declval<const JsonObject&>(), flag)),
                                 const JsonValue*>);
    static_assert(
        std::is_same_v<decltype(findPath(std::declval<JsonObject&>(), flag)), JsonValue*>);
    const JsonObject root = members({{"App", object({{"isEncoder", boolean(true)}})}});
    const JsonValue* const found = findPath(root, flag);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(*found, boolean(true));
}

TEST(JsonPath, LetsTheFlagBeChangedInPlaceAndNothingElse)
{
    JsonObject root =
        members({{"App", object({{"Name", string("dec")}, {"isEncoder", boolean(false)}})},
                 {"b", integer(2)}});
    ASSERT_EQ(JsonWriter::writeObject(root, 0),
              R"({"App": {"Name": "dec", "isEncoder": false}, "b": 2})");
    JsonValue* const found = findPath(root, flag);
    ASSERT_NE(found, nullptr);
    found->boolean() = true;
    EXPECT_EQ(JsonWriter::writeObject(root, 0),
              R"({"App": {"Name": "dec", "isEncoder": true}, "b": 2})");
}

TEST(MemberOf, GivesTheMemberInsideTheTree)
{
    JsonMember container = memberHolding(object({{"a", integer(1)}, {"b", string("s")}}));
    JsonObject& tree = container.value.object();
    EXPECT_EQ(&findMember(container, "a"), &tree["a"]);
    EXPECT_EQ(&findMember(container, "b"), &tree["b"]);
    findMember(container, "a").value.setBoolean(true);
    EXPECT_EQ(tree, members({{"a", boolean(true)}, {"b", string("s")}}));
}

TEST(MemberOf, FindsAKeyOfAnyBytes)
{
    JsonMember container =
        memberHolding(object({{"", integer(1)}, {"a", integer(2)}, {"a\0b"s, integer(3)}}));
    EXPECT_EQ(findMember(container, "").value, integer(1));
    EXPECT_EQ(findMember(container, "a").value, integer(2));
    EXPECT_EQ(findMember(container, "a\0b"s).value, integer(3));
}

TEST(MemberOf, GivesTheSharedEmptyMemberOnEveryMiss)
{
    const JsonObject nothing;
    (void)findPath(nothing, Keys{"any"});
    JsonMember& shared = sharedEmptyMember();
    for (const JsonValue& value :
         {JsonValue(), integer(5), real(1.5), boolean(true), string("a"), object({}),
          object({{"b", integer(1)}}), array({integer(1)}), unknown()}) {
        SCOPED_TRACE(testing::PrintToString(value));
        JsonMember container = memberHolding(value);
        EXPECT_EQ(&findMember(container, "a"), &shared);
        EXPECT_EQ(shared.name, "");
        EXPECT_EQ(shared.value.type(), JsonType::null);
        EXPECT_EQ(container, memberHolding(value)) << "nothing is added to the container";
    }
}

TEST(MemberOf, GoesOnFromAMissToAnotherMiss)
{
    const JsonObject nothing;
    (void)findPath(nothing, Keys{"any"});
    JsonMember container = memberHolding(object({}));
    JsonMember& first = findMember(container, "a");
    EXPECT_EQ(&findMember(first, "b"), &first);
}

TEST(MemberOf, ShowsWhatWasWrittenThroughAMissUntilTheNextLookup)
{
    JsonMember container = memberHolding(object({}));
    JsonMember other = memberHolding(integer(1));
    findMember(container, "a").value.setString("written");
    EXPECT_EQ(findMember(other, "b").value, string("written"));
    EXPECT_EQ(container, memberHolding(object({})));

    JsonObject root;
    (void)findPath(root, flag);
    EXPECT_EQ(findMember(other, "b").value.type(), JsonType::null);
}

}  // namespace
