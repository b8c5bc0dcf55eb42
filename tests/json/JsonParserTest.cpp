// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "json/JsonParser.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/json/Trees.h"
#include "json/JsonWriter.h"

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

/// All that a call leaves behind.
struct Outcome {
    JsonCode code;
    std::uint64_t position;
    JsonObject destination;

    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* stream)
{
    *stream << "code " << testing::PrintToString(outcome.code) << ", position " << outcome.position
            << ", destination " << testing::PrintToString(outcome.destination);
}

constexpr std::uint64_t positionBefore = 987654321;

JsonObject destinationBefore()
{
    return members({{"before", array({integer(1), string("kept on failure")})}});
}

Outcome parse(std::string_view text)
{
    // A copy has room for the bytes of the text and its NUL alone, so that AddressSanitizer notices
    // a read behind them.
    const std::string exact(text);
    Outcome outcome{JsonCode::ok, positionBefore, destinationBefore()};
    outcome.code = JsonParser::parse(outcome.destination, exact, outcome.position);
    return outcome;
}

/// Success: the destination holds these members and no others, the position was not written.
Outcome accepted(JsonObject destination)
{
    return {JsonCode::ok, positionBefore, std::move(destination)};
}

/// Failure: the destination is what it was.
Outcome refused(JsonCode code, std::uint64_t position)
{
    return {code, position, destinationBefore()};
}

/// A text in two pieces: the second one begins with the byte that is refused.
struct Refusal {
    std::string read;
    std::string rest;
};

void expectRefused(const std::vector<Refusal>& rows, JsonCode code)
{
    for (const Refusal& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.read + row.rest));
        EXPECT_EQ(parse(row.read + row.rest), refused(code, row.read.size()));
    }
}

std::string byteOf(int number)
{
    return std::string(1, static_cast<char>(number));
}

bool isOneOf(std::string_view set, const std::string& byte)
{
    return set.find(byte) != std::string_view::npos;
}

constexpr std::string_view whitespace = "\t\n\r ";

}  // namespace

TEST(JsonParser, HasAFixedNumberForEachCode)
{
    struct Row {
        const char* name;
        JsonCode code;
        std::int32_t number;
    };
    const std::array<Row, 14> rows = {{
        {"ok", JsonCode::ok, 0},
        {"not an object", JsonCode::notAnObject, -1},
        {"key expected", JsonCode::keyExpected, -1},
        {"text behind object", JsonCode::textBehindObject, -2},
        {"bad key", JsonCode::badKey, -3},
        {"colon expected", JsonCode::colonExpected, -4},
        {"member separator expected", JsonCode::memberSeparatorExpected, -5},
        {"bad true", JsonCode::badTrue, -10},
        {"bad false", JsonCode::badFalse, -11},
        {"bad null", JsonCode::badNull, -20},
        {"control byte in string", JsonCode::controlByteInString, -21},
        {"unknown escape", JsonCode::unknownEscape, -22},
        {"bad number", JsonCode::badNumber, -30},
        {"element separator expected", JsonCode::elementSeparatorExpected, -41},
    }};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(static_cast<std::int32_t>(row.code), row.number);
    }
}

// What is accepted.

TEST(JsonParser, ReadsAValueOfEachKind)
{
    EXPECT_EQ(parse(R"({"null":null,"int":-17,"dbl":1.5e2,"yes":true,"no":false,"str":"text",)"
                    R"("obj":{"k":1},"vec":[1,"two",null]})"),
              accepted(members({{"null", JsonValue()},
                                {"int", integer(-17)},
                                {"dbl", number(150.0)},
                                {"yes", boolean(true)},
                                {"no", boolean(false)},
                                {"str", string("text")},
                                {"obj", object({{"k", integer(1)}})},
                                {"vec", array({integer(1), string("two"), JsonValue()})}})));
}

TEST(JsonParser, ReadsObjectsAndArraysInsideEachOther)
{
    struct Row {
        const char* text;
        JsonObject expected;
    };
    const std::vector<Row> rows = {
        {"{}", {}},
        {R"({"a":{}})", members({{"a", object({})}})},
        {R"({"a":[]})", members({{"a", array({})}})},
        {R"({"a":[[],[[]],{}]})",
         members({{"a", array({array({}), array({array({})}), object({})})}})},
        {R"({"a":{"b":{"c":[{"d":1},{"d":2}]}},"e":3})",
         members({{"a", object({{"b", object({{"c", array({object({{"d", integer(1)}}),
                                                           object({{"d", integer(2)}})})}})}})},
                  {"e", integer(3)}})},
        {R"({"a":[1,true,false,null,"s",1.5,[2],{"k":3}]})",
         members({{"a", array({integer(1), boolean(true), boolean(false), JsonValue(), string("s"),
                               number(1.5), array({integer(2)}), object({{"k", integer(3)}})})}})},
        {R"({"":{"":""}})", members({{"", object({{"", string("")}})}})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(parse(row.text), accepted(row.expected));
    }
}

TEST(JsonParser, ReplacesWhatTheDestinationHeld)
{
    JsonObject destination = members({{"old", integer(1)}, {"both", string("old")}});
    std::uint64_t position = positionBefore;
    ASSERT_EQ(JsonParser::parse(destination, R"({"new":2,"both":3})", position), JsonCode::ok);
    EXPECT_EQ(destination, members({{"both", integer(3)}, {"new", integer(2)}}));
    EXPECT_EQ(position, positionBefore);
    ASSERT_EQ(JsonParser::parse(destination, "{}", position), JsonCode::ok);
    EXPECT_TRUE(destination.empty());
}

TEST(JsonParser, KeepsEveryValueOfTheDestinationInPlaceOnFailure)
{
    JsonObject destination = members({{"a", string("kept")}});
    const JsonValue* const value = &destination["a"].value;
    const std::string* const payload = &value->string();
    std::uint64_t position = positionBefore;
    ASSERT_EQ(JsonParser::parse(destination, R"({"a":1,"b":2,"c":x})", position),
              JsonCode::badNumber);
    EXPECT_EQ(destination, members({{"a", string("kept")}}));
    EXPECT_EQ(&destination["a"].value, value);
    EXPECT_EQ(&value->string(), payload);
}

TEST(JsonParser, KeepsNothingBetweenCalls)
{
    EXPECT_EQ(parse(R"({"a":[1,{"b":tru}]})"), refused(JsonCode::badTrue, 13));
    EXPECT_EQ(parse(R"({"c":1})"), accepted(members({{"c", integer(1)}})));
    EXPECT_EQ(parse("{}}"), refused(JsonCode::textBehindObject, 2));
}

TEST(JsonParser, KeepsTheLastValueOfADuplicateKey)
{
    struct Row {
        const char* text;
        JsonObject expected;
    };
    const std::vector<Row> rows = {
        {R"({"k":1,"k":2})", members({{"k", integer(2)}})},
        {R"({"k":1,"k":"s","k":[true]})", members({{"k", array({boolean(true)})}})},
        {R"({"k":{"a":1},"k":{"b":2}})", members({{"k", object({{"b", integer(2)}})}})},
        {R"({"k":[1,2,3],"k":null})", members({{"k", JsonValue()}})},
        {R"({"a":1,"k":2,"b":3,"k":4})",
         members({{"a", integer(1)}, {"b", integer(3)}, {"k", integer(4)}})},
        {R"({"":1,"":2})", members({{"", integer(2)}})},
        {R"({"o":{"k":1,"k":2},"k":3})",
         members({{"k", integer(3)}, {"o", object({{"k", integer(2)}})}})},
        {R"({"a\tb":1,"a\tb":2})", members({{"a\tb", integer(2)}})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(parse(row.text), accepted(row.expected));
    }
}

TEST(JsonParser, OrdersKeysAsUnsignedBytesAndElementsAsInTheText)
{
    const Outcome outcome =
        parse("{\"b\":1,\"\xff\":2,\"a\":3,\"\x7f\":4,\"ab\":[3,1,2],\"\x80\":5}");
    std::vector<std::string> keys;
    for (const auto& [key, member] : outcome.destination) {
        EXPECT_EQ(member.name, key);
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"a", "ab", "b", "\x7f", "\x80", "\xff"}));
    EXPECT_EQ(outcome.destination.at("ab").value, array({integer(3), integer(1), integer(2)}));
}

TEST(JsonParser, TakesACommaBeforeAClosingBracket)
{
    struct Row {
        const char* text;
        JsonObject expected;
    };
    const std::vector<Row> rows = {
        {R"({"a":1,})", members({{"a", integer(1)}})},
        {R"({"a":1 , })", members({{"a", integer(1)}})},
        {R"({"a":{"b":true,},})", members({{"a", object({{"b", boolean(true)}})}})},
        {R"({"a":[1,2,]})", members({{"a", array({integer(1), integer(2)})}})},
        {R"({"a":["x" , ],})", members({{"a", array({string("x")})}})},
        {R"({"a":[[],],})", members({{"a", array({array({})})}})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(parse(row.text), accepted(row.expected));
    }
}

TEST(JsonParser, ReadsAMissingValueAsTheIntegerZero)
{
    struct Row {
        const char* text;
        JsonObject expected;
    };
    const JsonValue zero = integer(0);
    const std::vector<Row> rows = {
        {R"({"a":})", members({{"a", zero}})},
        {R"({"a": })", members({{"a", zero}})},
        {"{\"a\":\t\r\n}", members({{"a", zero}})},
        {R"({"a":,})", members({{"a", zero}})},
        {R"({"a": ,"b": })", members({{"a", zero}, {"b", zero}})},
        {R"({"a":{"b":}})", members({{"a", object({{"b", zero}})}})},
        {R"({"a":[,]})", members({{"a", array({zero})}})},
        {R"({"a":[ , ]})", members({{"a", array({zero})}})},
        {R"({"a":[,,]})", members({{"a", array({zero, zero})}})},
        {R"({"a":[1,,2]})", members({{"a", array({integer(1), zero, integer(2)})}})},
        {R"({"a":[,"s"]})", members({{"a", array({zero, string("s")})}})},
        {R"({"a":[{"b":},]})", members({{"a", array({object({{"b", zero}})})}})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(parse(row.text), accepted(row.expected));
    }
}

// Whitespace.

namespace {

/// A place between two tokens, in a text that is complete without anything there.
struct Place {
    const char* name;
    std::string before;
    std::string after;
    JsonObject expected;
    JsonCode code;  ///< of a byte that may not stand there
};

std::vector<Place> placesBetweenTokens()
{
    const JsonObject text = members({{"a", string("x")}});
    const JsonObject one = members({{"a", array({string("x")})}});
    return {
        {"in an empty object", R"({)", R"(})", {}, JsonCode::keyExpected},
        {"before a key", R"({)", R"("a":"x"})", text, JsonCode::keyExpected},
        {"behind a key", R"({"a")", R"(:"x"})", text, JsonCode::colonExpected},
        {"before a value", R"({"a":)", R"("x"})", text, JsonCode::badNumber},
        {"behind a value", R"({"a":"x")", R"(})", text, JsonCode::memberSeparatorExpected},
        {"behind an object", R"({"a":{})", R"(})", members({{"a", object({})}}),
         JsonCode::memberSeparatorExpected},
        {"behind an array", R"({"a":[])", R"(})", members({{"a", array({})}}),
         JsonCode::memberSeparatorExpected},
        {"behind true", R"({"a":true)", R"(})", members({{"a", boolean(true)}}),
         JsonCode::memberSeparatorExpected},
        {"behind null", R"({"a":null)", R"(})", members({{"a", JsonValue()}}),
         JsonCode::memberSeparatorExpected},
        {"before a comma", R"({"a":"x")", R"(,"b":1})",
         members({{"a", string("x")}, {"b", integer(1)}}), JsonCode::memberSeparatorExpected},
        {"behind a comma", R"({"a":"x",)", R"("b":1})",
         members({{"a", string("x")}, {"b", integer(1)}}), JsonCode::keyExpected},
        {"behind the last comma", R"({"a":"x",)", R"(})", text, JsonCode::keyExpected},
        {"in an inner object", R"({"a":{)", R"(}})", members({{"a", object({})}}),
         JsonCode::keyExpected},
        {"in an empty array", R"({"a":[)", R"(]})", members({{"a", array({})}}),
         JsonCode::badNumber},
        {"before an element", R"({"a":[)", R"("x"]})", one, JsonCode::badNumber},
        {"behind an element", R"({"a":["x")", R"(]})", one, JsonCode::elementSeparatorExpected},
        {"behind an inner array", R"({"a":[[])", R"(]})", members({{"a", array({array({})})}}),
         JsonCode::elementSeparatorExpected},
        {"before an array's comma", R"({"a":["x")", R"(,"y"]})",
         members({{"a", array({string("x"), string("y")})}}), JsonCode::elementSeparatorExpected},
        {"behind an array's comma", R"({"a":["x",)", R"("y"]})",
         members({{"a", array({string("x"), string("y")})}}), JsonCode::badNumber},
        {"behind an array's last comma", R"({"a":["x",)", R"(]})", one, JsonCode::badNumber},
    };
}

}  // namespace

TEST(JsonParser, SkipsTabLineFeedReturnAndBlankBetweenTokens)
{
    for (const Place& place : placesBetweenTokens()) {
        for (const std::string gap : {"", "\t", "\n", "\r", " ", "\r\n", " \t\n\r\r\n\t "}) {
            SCOPED_TRACE(place.name + (" " + testing::PrintToString(gap)));
            EXPECT_EQ(parse(place.before + gap + place.after), accepted(place.expected));
        }
    }
}

TEST(JsonParser, RefusesEveryOtherControlByteBetweenTokens)
{
    for (const Place& place : placesBetweenTokens()) {
        for (int number = 0; number < 32; ++number) {
            const std::string byte = byteOf(number);
            if (isOneOf(whitespace, byte)) {
                continue;
            }
            SCOPED_TRACE(place.name + (", byte " + std::to_string(number)));
            EXPECT_EQ(parse(place.before + byte + place.after),
                      refused(place.code, place.before.size()));
            EXPECT_EQ(parse(place.before + " \t" + byte + " " + place.after),
                      refused(place.code, place.before.size() + 2));
        }
    }
}

TEST(JsonParser, LeavesFormFeedAndVerticalTabBeforeANumberToTheConversion)
{
    struct Row {
        const char* text;
        JsonValue expected;
    };
    const std::vector<Row> rows = {
        {"\f5", integer(5)},
        {"\v5", integer(5)},
        {"\f\v \t\n\r-5", integer(-5)},
        {"\v1.5", number(1.5)},
        {"\f-0.0", number(-0.0)},
        {"\v0x10", integer(16)},
        {"\f010", integer(8)},
        {"\v08", number(8.0)},
        {"\finf", number(std::numeric_limits<double>::infinity())},
        {"\vnan", number(std::numeric_limits<double>::quiet_NaN())},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        EXPECT_EQ(parse("{\"a\":"s + row.text + "}"), accepted(members({{"a", row.expected}})));
        EXPECT_EQ(parse("{\"a\":["s + row.text + "]}"),
                  accepted(members({{"a", array({row.expected})}})));
    }
}

TEST(JsonParser, RefusesFormFeedAndVerticalTabWithoutANumberBehindThem)
{
    expectRefused({{"{\"a\":", "\f}"},
                   {"{\"a\":", "\v}"},
                   {"{\"a\":", "\f,\"b\":1}"},
                   {"{\"a\":", "\ftrue}"},
                   {"{\"a\":", "\vnull}"},
                   {"{\"a\":", "\f\"x\"}"},
                   {"{\"a\":", "\v[]}"},
                   {"{\"a\":", "\f{}}"},
                   {"{\"a\":[", "\f]}"},
                   {"{\"a\":[1,", "\v]}"},
                   {"{\"a\":", "\f0b1}"},
                   {"{\"a\":", "\v-0o7}"},
                   {"{\"a\":", "\f \v0B1}"}},
                  JsonCode::badNumber);
}

// Codes and positions.

TEST(JsonParser, RefusesATextThatIsNoObjectFromItsFirstByteToItsLast)
{
    for (const std::string& text : {""s,
                                    "{"s,
                                    "}"s,
                                    "\0"s,
                                    " "s,
                                    "x"s,
                                    "}{"s,
                                    "{ "s,
                                    " }"s,
                                    "{]"s,
                                    "[}"s,
                                    "()"s,
                                    "[]"s,
                                    "[1]"s,
                                    "[{}]"s,
                                    "null"s,
                                    "12"s,
                                    "\"a\""s,
                                    "{} "s,
                                    "{}\n"s,
                                    "{}\t"s,
                                    "{}\0"s,
                                    " {}"s,
                                    "\n{}"s,
                                    "\0{}"s,
                                    "\xef\xbb\xbf{}"s,
                                    "{}//"s,
                                    "{a:1} "s,
                                    R"({"a":1)"s,
                                    R"("a":1})"s,
                                    R"({"a":tru} )"s,
                                    "{}{"s}) {
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_EQ(parse(text), refused(JsonCode::notAnObject, 0));
    }
}

TEST(JsonParser, RefusesAMemberThatBeginsWithoutAQuote)
{
    expectRefused({{"{", "a:1}"},
                   {"{", "'a':1}"},
                   {"{", ",}"},
                   {"{", ":1}"},
                   {"{", "1:1}"},
                   {"{", "{}}"},
                   {"{", "[]}"},
                   {"{", "]}"},
                   {"{", "null}"},
                   {"{", "/**/}"},
                   {"{", "\x80}"},
                   {"{  \n", "a:1}"},
                   {R"({"a":1,)", R"(,})"},
                   {R"({"a":1,)", R"(,"b":2})"},
                   {R"({"a":1 , )", R"(b:2})"},
                   {R"({"a":1,)", R"(]})"},
                   {R"({"a":1,)", R"(000})"},
                   {R"({"a":{)", R"(b:1}})"},
                   {R"({"a":{"b":1,)", R"(,}})"},
                   {R"({"a":[{)", R"(b:1}]})"},
                   {R"({"a":[[{},{)", R"(1}]]})"}},
                  JsonCode::keyExpected);
}

TEST(JsonParser, RefusesTextBehindTheClosedObject)
{
    expectRefused({{"{}", "}"},
                   {"{}", " {}"},
                   {"{}", "{}"},
                   {"{}", ",}"},
                   {"{}", "\n}"},
                   {"{}", "//}"},
                   {"{}", "\x01}"},
                   {"{}", "\xff}"},
                   {R"({"a":1})", "}"},
                   {R"({"a":1})", " }"},
                   {R"({"a":{}})", R"(,"b":{}})"},
                   {R"({"a":[1,]})", "]}"}},
                  JsonCode::textBehindObject);
}

TEST(JsonParser, RefusesAKeyThatIsNoString)
{
    expectRefused({{R"({"a\)", R"(q":1})"},
                   {R"({"a\)", R"(u0041":1})"},
                   {R"({"a\)", R"(/":1})"},
                   {R"({"\)", "\x80\":1}"},
                   {R"({"a)", "\tb\":1}"},
                   {R"({"a)", "\n\":1}"},
                   {R"({")", "\x1f\":1}"},
                   {R"({"a)", "\0b\":1}"s},
                   {R"({"a\)", "\nb\":1}"},
                   {R"({"a\)", "\0\":1}"s},
                   {R"({"a})", ""},
                   {R"({"})", ""},
                   {R"({"a\":1})", ""},
                   {R"({"a":1,"b\)", R"(q":2})"},
                   {R"({"o":{"a\)", R"(q":1}})"},
                   {R"({"o":[{"a)", "\t\":1}]}"}},
                  JsonCode::badKey);
}

TEST(JsonParser, RefusesAKeyWithoutAColon)
{
    expectRefused({{R"({"a" )", R"(1})"},
                   {R"({"a")", R"(})"},
                   {R"({"a")", R"(,"b":1})"},
                   {R"({"a")", R"(=1})"},
                   {R"({"a")", R"("b":1})"},
                   {R"({"a")", R"({}})"},
                   {R"({"a")", "\0:1}"s},
                   {R"({"a")", "\xff:1}"},
                   {"{\"a\"\r\n\t ", "]}"},
                   {R"({"a":1,"b" )", R"(})"},
                   {R"({"a":{"b" )", R"(1}})"},
                   {R"({"a":[{"b")", R"(]})"}},
                  JsonCode::colonExpected);
}

TEST(JsonParser, RefusesAMembersValueWithoutASeparator)
{
    expectRefused({{R"({"a":1 )", R"("b":2})"},
                   {R"({"a":1 )", R"(2})"},
                   {R"({"a":1)", R"(]})"},
                   {R"({"a":)", R"(]})"},
                   {R"({"a": )", R"(]})"},
                   {R"({"a":1 )", R"(:2})"},
                   {R"({"a":1.5 )", R"(x})"},
                   {R"({"a":true)", R"(x})"},
                   {R"({"a":false)", R"(false})"},
                   {R"({"a":null)", R"(l})"},
                   {R"({"a":true)", R"("b":1})"},
                   {R"({"a":true)", "\0,}"s},
                   {R"({"a":"x")", R"("y"})"},
                   {R"({"a":"x" )", R"(:"y"})"},
                   {R"({"a":"x")", R"(]})"},
                   {R"({"a":[])", R"([]})"},
                   {R"({"a":[])", R"(]})"},
                   {R"({"a":{})", R"({}})"},
                   {R"({"a":{})", R"(;})"},
                   {R"({"a":{})", R"()"},
                   {R"({"a":{"b":1})", R"()"},
                   {R"({"a":{"b":{}})", R"()"},
                   {R"({"a":{"b":"x" )", R"("c":1}})"},
                   {R"({"a":[{"b":1 )", R"(2}]})"},
                   {R"({"a":[1,{"b":[])", R"(]}]})"}},
                  JsonCode::memberSeparatorExpected);
}

TEST(JsonParser, RefusesAnElementWithoutASeparator)
{
    expectRefused({{R"({"a":[1 )", R"(2]})"},       {R"({"a":[1,)", R"(})"},
                   {R"({"a":[)", R"(})"},           {R"({"a":[ )", R"(})"},
                   {R"({"a":[1)", R"(})"},          {R"({"a":[1 )", R"(:2]})"},
                   {R"({"a":[1.5 )", R"(x]})"},     {R"({"a":["x")", R"("y"]})"},
                   {R"({"a":["x")", R"(:1]})"},     {R"({"a":["x")", R"(})"},
                   {R"({"a":[true)", R"(x]})"},     {R"({"a":[false)", R"(})"},
                   {R"({"a":[null)", R"(null]})"},  {R"({"a":[null)", "\0]}"s},
                   {R"({"a":[[])", R"([]]})"},      {R"({"a":[[])", R"(})"},
                   {R"({"a":[{})", R"({}]})"},      {R"({"a":[{})", R"()"},
                   {R"({"a":[{"b":1})", R"()"},     {R"({"a":[[1 )", R"(2]]})"},
                   {R"({"a":{"b":[1 )", R"(2]}})"}, {R"({"a":[{"b":["x",)", R"(}]}]})"}},
                  JsonCode::elementSeparatorExpected);
}

TEST(JsonParser, RefusesAWordThatBeginsLikeTrue)
{
    expectRefused({{R"({"a":)", "t}"},
                   {R"({"a":)", "tr}"},
                   {R"({"a":)", "tru}"},
                   {R"({"a":)", "tru,}"},
                   {R"({"a":)", "trUe}"},
                   {R"({"a":)", "tRUE}"},
                   {R"({"a":)", "ture}"},
                   {R"({"a":)", "t rue}"},
                   {R"({"a":)", "tru\0}"s},
                   {R"({"a":)", "tru\0e}"s},
                   {R"({"a": )", "t\"\"}"},
                   {R"({"a":[)", "t]}"},
                   {R"({"a":[true,)", "tru]}"},
                   {R"({"a":[{"b":)", "tr}]}"}},
                  JsonCode::badTrue);
}

TEST(JsonParser, RefusesAWordThatBeginsLikeFalse)
{
    expectRefused({{R"({"a":)", "f}"},
                   {R"({"a":)", "fa}"},
                   {R"({"a":)", "fal}"},
                   {R"({"a":)", "fals}"},
                   {R"({"a":)", "falsE}"},
                   {R"({"a":)", "flase}"},
                   {R"({"a":)", "f alse}"},
                   {R"({"a":)", "fals\0}"s},
                   {R"({"a":)", "fals\0e}"s},
                   {R"({"a": )", "f,}"},
                   {R"({"a":[)", "f]}"},
                   {R"({"a":[false,)", "fals]}"},
                   {R"({"a":[{"b":)", "fal}]}"}},
                  JsonCode::badFalse);
}

TEST(JsonParser, RefusesAWordThatBeginsLikeNull)
{
    expectRefused({{R"({"a":)", "n}"},
                   {R"({"a":)", "nu}"},
                   {R"({"a":)", "nul}"},
                   {R"({"a":)", "nulL}"},
                   {R"({"a":)", "nil}"},
                   {R"({"a":)", "nan}"},
                   {R"({"a":)", "nan(1)}"},
                   {R"({"a":)", "n ull}"},
                   {R"({"a":)", "nul\0}"s},
                   {R"({"a":)", "nul\0l}"s},
                   {R"({"a": )", "n,}"},
                   {R"({"a":[)", "nan]}"},
                   {R"({"a":[null,)", "nul]}"},
                   {R"({"a":[{"b":)", "nu}]}"}},
                  JsonCode::badNull);
}

TEST(JsonParser, RefusesAControlByteInAString)
{
    expectRefused({{R"({"a":"x)", "\ty\"}"},
                   {R"({"a":")", "\n\"}"},
                   {R"({"a":"x)", "\0y\"}"s},
                   {R"({"a":"x\)", "\ny\"}"},
                   {R"({"a":"x\)", "\0\"}"s},
                   {R"({"a":"})", ""},
                   {R"({"a":"x})", ""},
                   {R"({"a":"x\"})", ""},
                   {R"({"a":["x)", "\x1f\"]}"},
                   {R"({"a":["x\)", "\x01\"]}"},
                   {R"({"a":["x","]})", ""}},
                  JsonCode::controlByteInString);
}

TEST(JsonParser, RefusesAnUnknownEscapeInAString)
{
    expectRefused({{R"({"a":"x\)", R"(u0041"})"},
                   {R"({"a":"x\)", R"(/"})"},
                   {R"({"a":"\)", R"(q"})"},
                   {R"({"a":"\\\)", R"(x"})"},
                   {R"({"a":"x\)", R"(})"},
                   {R"({"a":"x\)", R"( "})"},
                   {R"({"a":"x\)", R"(N"})"},
                   {R"({"a":"x\)", "\xff\"}"},
                   {R"({"a":["x\)", R"(0"]})"},
                   {R"({"a":{"b":[{"c":"\)", R"('"}]}})"}},
                  JsonCode::unknownEscape);
}

TEST(JsonParser, CountsThePositionFromTheStartOfTheTextHoweverDeepTheFault)
{
    struct Wrapper {
        const char* name;
        std::string before;
        std::string after;
    };
    struct Fault {
        std::string read;
        std::string rest;
        JsonCode code;
    };
    const std::vector<Wrapper> wrappers = {
        {"a member", R"({"k":)", R"(})"},
        {"a later member", R"({"j":[1,{}],"k": )", R"(,"l":1})"},
        {"an element", R"({"k":[)", R"(]})"},
        {"a later element", R"({"k":[[],{"a":1}, )", R"(,2]})"},
        {"a member of a member", R"({"j":{"k":)", R"(}})"},
        {"an element of an element", R"({"k":[[)", R"(]]})"},
        {"a member of an element", R"({"j":[{"k":)", R"(}]})"},
        {"an element of a member", R"({"i":{"j":{"k":["x",)", R"(]}}})"},
        {"a mixture", R"({"a":[{"b":[[{"c":)", R"(}]]}]})"},
    };
    const std::vector<Fault> faults = {
        {R"({)", R"(x})", JsonCode::keyExpected},
        {R"({"a\)", R"(q":1})", JsonCode::badKey},
        {R"({"a)", "\t\":1}", JsonCode::badKey},
        {R"({"a" )", R"(1})", JsonCode::colonExpected},
        {R"({"a":"b" )", R"(1})", JsonCode::memberSeparatorExpected},
        {R"()", R"(tru)", JsonCode::badTrue},
        {R"()", R"(fals)", JsonCode::badFalse},
        {R"()", R"(nul)", JsonCode::badNull},
        {R"("x)", "\n\"", JsonCode::controlByteInString},
        {R"("x\)", R"(q")", JsonCode::unknownEscape},
        {R"()", R"(1x)", JsonCode::badNumber},
        {R"(["x" )", R"(1])", JsonCode::elementSeparatorExpected},
    };
    for (const Wrapper& wrapper : wrappers) {
        for (const Fault& fault : faults) {
            const std::string read = wrapper.before + fault.read;
            const std::string text = read + fault.rest + wrapper.after;
            SCOPED_TRACE(wrapper.name + (": " + testing::PrintToString(text)));
            EXPECT_EQ(parse(text), refused(fault.code, read.size()));
        }
    }
}

TEST(JsonParser, ReportsTheFirstOfSeveralFaults)
{
    EXPECT_EQ(parse(R"({"a":1x,"b":tru,c})"), refused(JsonCode::badNumber, 5));
    EXPECT_EQ(parse(R"({"a":[tru,nul],"b\q":1})"), refused(JsonCode::badTrue, 6));
    EXPECT_EQ(parse(R"({"a\q" 1}})"), refused(JsonCode::badKey, 4));
    EXPECT_EQ(parse(R"({}}tru})"), refused(JsonCode::textBehindObject, 2));
}

// NUL, and the end of the text.

TEST(JsonParser, TakesANulByteForTheEndOfTheText)
{
    EXPECT_EQ(parse("{}\0}"sv), accepted({}));
    EXPECT_EQ(parse("{}\0 whatever {\"a\":tru}"sv), accepted({}));
    EXPECT_EQ(parse("{\"a\":1}\0,\"b\":2}"sv), accepted(members({{"a", integer(1)}})));
    EXPECT_EQ(parse("{\0}"sv), refused(JsonCode::keyExpected, 1));
    EXPECT_EQ(parse("{\"a\":1,\0}"sv), refused(JsonCode::keyExpected, 7));
    EXPECT_EQ(parse("{\"a\":1 \0}"sv), refused(JsonCode::memberSeparatorExpected, 7));
    EXPECT_EQ(parse("{\"a\":1\0}"sv), refused(JsonCode::badNumber, 5));
    EXPECT_EQ(parse("{\"a\":[1.5\0]}"sv), refused(JsonCode::badNumber, 6));
    EXPECT_EQ(parse("{} \0}"sv), refused(JsonCode::textBehindObject, 2));
}

// With 16 blanks before them the texts are too long for the buffer inside a std::string, and
// stand alone in an allocation that ends with their NUL.
TEST(JsonParser, NeverReadsBehindTheEndOfTheText)
{
    struct Row {
        const char* rest;
        JsonCode code;
        std::uint64_t position;  ///< in the rest
    };
    const std::vector<Row> rows = {
        {"x}", JsonCode::keyExpected, 0},
        {"\"}", JsonCode::badKey, 2},
        {"\"\\}", JsonCode::badKey, 2},
        {"\"\\\\}", JsonCode::badKey, 4},
        {"\"a\"}", JsonCode::colonExpected, 3},
        {"\"a\":t}", JsonCode::badTrue, 4},
        {"\"a\":tr}", JsonCode::badTrue, 4},
        {"\"a\":f}", JsonCode::badFalse, 4},
        {"\"a\":fa}", JsonCode::badFalse, 4},
        {"\"a\":fal}", JsonCode::badFalse, 4},
        {"\"a\":n}", JsonCode::badNull, 4},
        {"\"a\":nu}", JsonCode::badNull, 4},
        {"\"a\":[t}", JsonCode::badTrue, 5},
        {"\"a\":[f}", JsonCode::badFalse, 5},
        {"\"a\":[n}", JsonCode::badNull, 5},
        {"\"a\":\"}", JsonCode::controlByteInString, 6},
        {"\"a\":\"\\}", JsonCode::unknownEscape, 6},
        {"\"a\":\"\\\"}", JsonCode::controlByteInString, 8},
        {"\"a\":[}", JsonCode::elementSeparatorExpected, 5},
        {"\"a\":[1}", JsonCode::elementSeparatorExpected, 6},
        {"\"a\":[{}", JsonCode::elementSeparatorExpected, 7},
        {"\"a\":{}", JsonCode::memberSeparatorExpected, 6},
        {"\"a\":-}", JsonCode::badNumber, 4},
        {"\"a\":0x}", JsonCode::badNumber, 4},
        {"\"a\":0b}", JsonCode::badNumber, 4},
        {"\"a\":1e}", JsonCode::badNumber, 4},
        {"\"a\":infinit}", JsonCode::badNumber, 4},
        {"\"a\":NaN(}", JsonCode::badNumber, 4},
        {"}}", JsonCode::textBehindObject, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rest);
        const std::string before = "{" + std::string(16, ' ');
        EXPECT_EQ(parse(before + row.rest), refused(row.code, before.size() + row.position));
    }
}

// Strings.

TEST(JsonParser, ReadsSevenEscapesAndRefusesAllOthers)
{
    for (int number = 0; number < 256; ++number) {
        SCOPED_TRACE("byte " + std::to_string(number));
        const std::string byte = byteOf(number);
        std::string meant;
        switch (number) {
        case '"':
            meant = "\x22";
            break;
        case '\\':
            meant = "\x5c";
            break;
        case 'b':
            meant = "\x08";
            break;
        case 'f':
            meant = "\x0c";
            break;
        case 'n':
            meant = "\x0a";
            break;
        case 'r':
            meant = "\x0d";
            break;
        case 't':
            meant = "\x09";
            break;
        default:
            break;
        }
        const std::string value = R"({"a":"<\)" + byte + R"(>"})";
        const std::string element = R"({"a":["<\)" + byte + R"(>"]})";
        const std::string key = R"({"<\)" + byte + R"(>":1})";
        if (!meant.empty()) {
            const std::string expected = "<" + meant + ">";
            EXPECT_EQ(parse(value), accepted(members({{"a", string(expected)}})));
            EXPECT_EQ(parse(element), accepted(members({{"a", array({string(expected)})}})));
            EXPECT_EQ(parse(key), accepted(members({{expected, integer(1)}})));
            continue;
        }
        const JsonCode code = number < 32 ? JsonCode::controlByteInString : JsonCode::unknownEscape;
        EXPECT_EQ(parse(value), refused(code, 8));
        EXPECT_EQ(parse(element), refused(code, 9));
        EXPECT_EQ(parse(key), refused(JsonCode::badKey, 4));
    }
}

TEST(JsonParser, KeepsEveryByteFrom32UpAndRefusesAllBelow)
{
    for (int number = 0; number < 256; ++number) {
        const std::string byte = byteOf(number);
        if (isOneOf("\"\\", byte)) {
            continue;
        }
        SCOPED_TRACE("byte " + std::to_string(number));
        const std::string bytes = "<" + byte + byte + ">";
        const std::string value = R"({"a":")" + bytes + R"("})";
        const std::string element = R"({"a":[")" + bytes + R"("]})";
        const std::string key = R"({")" + bytes + R"(":1})";
        if (number >= 32) {
            EXPECT_EQ(parse(value), accepted(members({{"a", string(bytes)}})));
            EXPECT_EQ(parse(element), accepted(members({{"a", array({string(bytes)})}})));
            EXPECT_EQ(parse(key), accepted(members({{bytes, integer(1)}})));
            continue;
        }
        EXPECT_EQ(parse(value), refused(JsonCode::controlByteInString, 7));
        EXPECT_EQ(parse(element), refused(JsonCode::controlByteInString, 8));
        EXPECT_EQ(parse(key), refused(JsonCode::badKey, 3));
    }
}

TEST(JsonParser, ReadsStringsWhole)
{
    struct Row {
        std::string text;
        std::string bytes;
    };
    const std::vector<Row> rows = {
        {R"("")", ""},
        {R"("  a  b  ")", "  a  b  "},
        {R"("{[,:]}")", "{[,:]}"},
        {R"("\"")", "\""},
        {R"("\\")", "\\"},
        {R"("\\\"\\")", "\\\"\\"},
        {R"("\\n")", "\\n"},
        {R"("\b\f\n\r\t\"\\")", "\b\f\n\r\t\"\\"},
        {R"("a\tb\\c\"d")", "a\tb\\c\"d"},
        {R"("/config/ENCODER")", "/config/ENCODER"},
        {"\"\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\xa5\"", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\xa5"},
        {"\"\xff\xfe\x80\"", "\xff\xfe\x80"},
        {'"' + std::string(5000, 'x') + '"', std::string(5000, 'x')},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(parse("{\"a\":" + row.text + "}"), accepted(members({{"a", string(row.bytes)}})));
        EXPECT_EQ(parse("{" + row.text + ":1}"), accepted(members({{row.bytes, integer(1)}})));
    }
}

// Numbers.

TEST(JsonParser, ReadsNumbersAsStrtollAndStrtodDo)
{
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
    struct Row {
        const char* text;
        JsonValue expected;
    };
    const std::vector<Row> rows = {
        // Decimal.
        {"0", integer(0)},
        {"-0", integer(0)},
        {"+0", integer(0)},
        {"5", integer(5)},
        {"+5", integer(5)},
        {"-5", integer(-5)},
        {"10", integer(10)},
        {"-9", integer(-9)},
        {"1234567890123", integer(1234567890123)},
        {"99999999999999999", integer(99999999999999999)},
        {"-99999999999999999", integer(-99999999999999999)},
        {"999999999999999999", integer(999999999999999999)},
        {"-999999999999999999", integer(-999999999999999999)},
        {"1000000000000000000", integer(1000000000000000000)},
        {"-1000000000000000000", integer(-1000000000000000000)},
        {"+1234567890123456789", integer(1234567890123456789)},
        // A leading zero: octal, or a double where a digit is not octal.
        {"00", integer(0)},
        {"007", integer(7)},
        {"010", integer(8)},
        {"-010", integer(-8)},
        {"+0777", integer(511)},
        {"08", number(8.0)},
        {"09", number(9.0)},
        {"-08", number(-8.0)},
        {"018", number(18.0)},
        {"0778", number(778.0)},
        {"0123.5", number(123.5)},
        // Hexadecimal.
        {"0x0", integer(0)},
        {"0x10", integer(16)},
        {"0x1A", integer(26)},
        {"0X1a", integer(26)},
        {"-0xff", integer(-255)},
        {"+0xFF", integer(255)},
        {"0x0b1", integer(177)},
        {"0x1e5", integer(485)},
        // The ends of the range, and beyond them.
        {"9223372036854775806", integer(most - 1)},
        {"9223372036854775807", integer(most)},
        {"9223372036854775808", integer(most)},
        {"10000000000000000000", integer(most)},
        {"18446744073709551615", integer(most)},
        {"123456789012345678901234567890", integer(most)},
        {"-9223372036854775807", integer(least + 1)},
        {"-9223372036854775808", integer(least)},
        {"-9223372036854775809", integer(least)},
        {"-123456789012345678901234567890", integer(least)},
        {"0x7fffffffffffffff", integer(most)},
        {"0x8000000000000000", integer(most)},
        {"0xffffffffffffffff", integer(most)},
        {"-0x8000000000000000", integer(least)},
        {"-0x8000000000000001", integer(least)},
        {"0777777777777777777777", integer(most)},
        {"01000000000000000000000", integer(most)},
        {"-01000000000000000000001", integer(least)},
        // Doubles.
        {"0.0", number(0.0)},
        {"-0.0", number(-0.0)},
        {"+0.0", number(0.0)},
        {"0e0", number(0.0)},
        {"1.0", number(1.0)},
        {"1.5", number(1.5)},
        {"123456789012345678.0", number(123456789012345678.0)},
        {"1234567890123456789e0", number(1234567890123456789.0)},
        {"+1.5", number(1.5)},
        {"-1.5", number(-1.5)},
        {"0.1", number(0.1)},
        {"0.1000000000000000055511151231257827", number(0.1)},
        {"1.", number(1.0)},
        {".5", number(0.5)},
        {"-.5", number(-0.5)},
        {"1e3", number(1000.0)},
        {"1E3", number(1000.0)},
        {"1e+3", number(1000.0)},
        {"1.5e2", number(150.0)},
        {"25e-2", number(0.25)},
        {"1e19", number(1e19)},
        {"1e300", number(1e300)},
        {"1.7976931348623157e308", number(std::numeric_limits<double>::max())},
        {"5e-324", number(std::numeric_limits<double>::denorm_min())},
        {"1e400", number(infinity)},
        {"-1e400", number(-infinity)},
        {"1e-400", number(0.0)},
        {"-1e-400", number(-0.0)},
        // Hexadecimal floating point.
        {"0x1p4", number(16.0)},
        {"0X1.8P1", number(3.0)},
        {"0x.8", number(0.5)},
        {"-0x1p-1", number(-0.5)},
        {"0x1.", number(1.0)},
        // Infinity, and not a number.
        {"inf", number(infinity)},
        {"INF", number(infinity)},
        {"+inf", number(infinity)},
        {"-inf", number(-infinity)},
        {"infinity", number(infinity)},
        {"-Infinity", number(-infinity)},
        {"NaN", number(notANumber)},
        {"NAN", number(notANumber)},
        {"Nan", number(notANumber)},
        {"-nan", number(notANumber)},
        {"+nan", number(notANumber)},
        {"NaN(1)", number(notANumber)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const std::string text = row.text;
        EXPECT_EQ(parse("{\"a\":" + text + "}"), accepted(members({{"a", row.expected}})));
        EXPECT_EQ(parse("{\"a\":[" + text + "]}"),
                  accepted(members({{"a", array({row.expected})}})));
    }
}

TEST(JsonParser, RefusesWhatIsNoNumber)
{
    for (const std::string& text :
         {"1x"s,    "1.5x"s,    "1.5.5"s, "1e"s,    "1e+"s,    "1ex"s,   "--1"s,   "+-1"s,
          "-+1"s,   "- 1"s,     "+ 1"s,   "-"s,     "+"s,      "."s,     "-."s,    "e5"s,
          "0x"s,    "0xg"s,     "0x1g"s,  "-0x"s,   "0x1p"s,   "0x."s,   "x10"s,   "08x"s,
          "1_000"s, "1'000"s,   "1:"s,    "1\""s,   "1["s,     "1{"s,    "1/**/"s, "1;"s,
          "1\0"s,   "1\f"s,     "1\v"s,   "1.5\f"s, "1.5\v "s, "inf\f"s, "1\x01"s, "1\x80"s,
          "infi"s,  "infinit"s, "in"s,    "i"s,     "infx"s,   "NaNx"s,  "NaN("s,  "NaN(-)"s,
          "N"s,     "Null"s,    "NULL"s,  "True"s,  "TRUE"s,   "False"s, "FALSE"s, "None"s,
          "yes"s,   "x"s,       "$"s,     "'a'"s,   "\\"s,     "/"s,     ":"s,     "(1)"s}) {
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_EQ(parse("{\"a\":" + text + "}"), refused(JsonCode::badNumber, 5));
        EXPECT_EQ(parse("{\"a\":[" + text + "]}"), refused(JsonCode::badNumber, 6));
        EXPECT_EQ(parse("{\"a\": \n" + text + ",\"b\":1}"), refused(JsonCode::badNumber, 7));
    }
}

TEST(JsonParser, ReadsNoBinaryAndNoPrefixedOctalNumbers)
{
    for (const std::string text : {"0b101", "0B1", "-0b1", "+0b1", "0b0", "0b", "0b2", "0o17",
                                   "0O17", "-0o7", "+0o7", "0o", "0b1.5", "0b1e3"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(parse("{\"a\":" + text + "}"), refused(JsonCode::badNumber, 5));
        EXPECT_EQ(parse("{\"a\":[1," + text + "]}"), refused(JsonCode::badNumber, 8));
        EXPECT_EQ(parse("{\"a\": " + text + " ,\"b\":1}"), refused(JsonCode::badNumber, 6));
    }
}

TEST(JsonParser, EndsANumberAtWhitespaceCommaAndClosingBrackets)
{
    struct Row {
        const char* text;
        JsonValue expected;
    };
    for (const Row& row : {Row{"17", integer(17)}, Row{"0x11", integer(17)},
                           Row{"1.5", number(1.5)}, Row{"08", number(8.0)}}) {
        const std::string text = row.text;
        for (const std::string end : {"\t", "\n", "\r", " ", ","}) {
            SCOPED_TRACE(text + testing::PrintToString(end));
            EXPECT_EQ(parse("{\"a\":" + text + end + "}"),
                      accepted(members({{"a", row.expected}})));
            EXPECT_EQ(parse("{\"a\":[" + text + end + "]}"),
                      accepted(members({{"a", array({row.expected})}})));
        }
        SCOPED_TRACE(text);
        EXPECT_EQ(parse("{\"a\":" + text + "}"), accepted(members({{"a", row.expected}})));
        EXPECT_EQ(parse("{\"a\":[" + text + "]}"),
                  accepted(members({{"a", array({row.expected})}})));
        // Each closing bracket ends the number also where it is not the one that fits.
        EXPECT_EQ(parse("{\"a\":" + text + "]}"),
                  refused(JsonCode::memberSeparatorExpected, 5 + text.size()));
        EXPECT_EQ(parse("{\"a\":[" + text + "}"),
                  refused(JsonCode::elementSeparatorExpected, 6 + text.size()));
    }
}

TEST(JsonParser, EndsANumberAtNoOtherByte)
{
    for (int number = 0; number < 256; ++number) {
        const std::string byte = byteOf(number);
        if (isOneOf("\t\n\r ,]}", byte) || isOneOf("0123456789.", byte)) {
            continue;
        }
        SCOPED_TRACE("byte " + std::to_string(number));
        EXPECT_EQ(parse("{\"a\":1" + byte + "}"), refused(JsonCode::badNumber, 5));
        EXPECT_EQ(parse("{\"a\":1.5" + byte + "}"), refused(JsonCode::badNumber, 5));
        EXPECT_EQ(parse("{\"a\":[1" + byte + "]}"), refused(JsonCode::badNumber, 6));
    }
}

TEST(JsonParser, TakesAByteThatBeginsNoOtherValueForANumber)
{
    for (int number = 0; number < 256; ++number) {
        const std::string byte = byteOf(number);
        if (isOneOf("\t\n\r ,]}", byte) || isOneOf("0123456789[{\"tfn", byte)) {
            continue;
        }
        SCOPED_TRACE("byte " + std::to_string(number));
        EXPECT_EQ(parse("{\"a\":" + byte + "}"), refused(JsonCode::badNumber, 5));
        EXPECT_EQ(parse("{\"a\":[" + byte + "]}"), refused(JsonCode::badNumber, 6));
    }
}

// Writing and reading again.

TEST(JsonParser, ReadsWhatWasWritten)
{
    std::string everyByteThatCanBeRead;
    for (int number = 32; number < 256; ++number) {
        everyByteThatCanBeRead += static_cast<char>(number);
    }
    everyByteThatCanBeRead += "\b\f\n\r\t";
    const JsonObject tree = members(
        {{everyByteThatCanBeRead, string(everyByteThatCanBeRead)},
         {"", array({array({}), object({}), JsonValue(), boolean(true), boolean(false)})},
         {"numbers", array({integer(std::numeric_limits<std::int64_t>::min()), number(0.1),
                            number(1e300), number(std::numeric_limits<double>::denorm_min()),
                            number(std::numeric_limits<double>::infinity())})},
         {"object", object({{"a", object({{"b", array({string("x\ty")})}})}})}});
    for (const std::uint64_t level : {0U, 1U, 2U}) {
        SCOPED_TRACE("level " + std::to_string(level));
        // Above level 1 the last brace is indented, and the text behind it is nothing all the same.
        EXPECT_EQ(parse(JsonWriter::writeObject(tree, level)), accepted(tree));
    }
}

// Depth.

namespace {

// The deepest texts that fit into the 10,000 bytes of a configuration file.
constexpr std::size_t textLimit = 10'000;
constexpr std::size_t arrayDepth = (textLimit - R"({"a":})"sv.size()) / "[]"sv.size();
constexpr std::size_t objectDepth = (textLimit - "{}"sv.size()) / R"("":{})"sv.size();

std::string repeated(std::size_t count, std::string_view piece)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

std::string deepArrays()
{
    return R"({"a":)" + repeated(arrayDepth, "[") + repeated(arrayDepth, "]") + "}";
}

std::string deepObjects()
{
    return "{" + repeated(objectDepth, R"("":{)") + repeated(objectDepth, "}") + "}";
}

/// What the writer makes of deepArrays() at level 2.
std::string deepArraysLayout()
{
    std::string text = "{\n    \"a\": [\n";
    for (std::size_t outside = 1; outside + 1 < arrayDepth; ++outside) {
        text += std::string(4 + 2 * outside, ' ') + "[\n";
    }
    text += std::string(4 + 2 * (arrayDepth - 1), ' ') + "[]\n";
    for (std::size_t outside = arrayDepth - 2; outside > 0; --outside) {
        text += std::string(4 + 2 * outside, ' ') + "]\n";
    }
    return text + "    ]\n  }";
}

/// What the writer makes of deepObjects() at level 2.
std::string deepObjectsLayout()
{
    std::string text = "{\n";
    for (std::size_t outside = 1; outside < objectDepth; ++outside) {
        text += std::string(2 + 2 * outside, ' ') + "\"\": {\n";
    }
    text += std::string(2 + 2 * objectDepth, ' ') + "\"\": {}\n";
    for (std::size_t outside = objectDepth - 1; outside > 0; --outside) {
        text += std::string(2 + 2 * outside, ' ') + "}\n";
    }
    return text + "  }";
}

// A program has a stack of 8 MiB as a rule; a quarter of that must do, for the deepest document
// there can be. It is what an optimised build is held to. Without optimisation and with
// AddressSanitizer, which puts unused room around each local object, frames are several times as
// large, and say nothing about the program that is shipped.
#if defined(__SANITIZE_ADDRESS__)
#define HAS_LARGE_FRAMES
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HAS_LARGE_FRAMES
#endif
#endif
#if !defined(__OPTIMIZE__)
#define HAS_LARGE_FRAMES
#endif

#if defined(HAS_LARGE_FRAMES)
constexpr std::size_t stackForTheDeepestDocument = std::size_t{16} << 20;
#else
constexpr std::size_t stackForTheDeepestDocument = std::size_t{2} << 20;
#endif

/// Calls the function on a stack of its own of this size.
void callOnStackOf(std::size_t size, std::function<void()> function)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
    pthread_t thread;
    const auto call = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, call, &function), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
}

struct DeepDocument {
    const char* name;
    std::string text;
    std::string layout;
    std::string line;
};

std::vector<DeepDocument> deepDocuments()
{
    return {
        {"arrays", deepArrays(), deepArraysLayout(),
         R"({"a": )" + repeated(arrayDepth, "[") + repeated(arrayDepth, "]") + "}"},
        {"objects", deepObjects(), deepObjectsLayout(),
         "{" + repeated(objectDepth, R"("": {)") + repeated(objectDepth, "}") + "}"},
    };
}

}  // namespace

TEST(JsonParser, ReadsCopiesAndWritesTheDeepestDocumentOnASmallStack)
{
    for (const DeepDocument& document : deepDocuments()) {
        SCOPED_TRACE(document.name);
        ASSERT_GT(document.text.size(), textLimit - 5);
        ASSERT_LE(document.text.size(), textLimit);
        JsonCode code = JsonCode::notAnObject;
        std::uint64_t position = positionBefore;
        std::string layout;
        std::string line;
        std::string lineOfCopy;
        callOnStackOf(stackForTheDeepestDocument, [&] {
            JsonObject tree;
            code = JsonParser::parse(tree, document.text, position);
            layout = JsonWriter::writeObject(tree, 2);
            line = JsonWriter::writeObject(tree, 0);
            JsonObject copy = tree;
            tree.clear();
            lineOfCopy = JsonWriter::writeObject(copy, 0);
        });
        EXPECT_EQ(code, JsonCode::ok);
        EXPECT_EQ(position, positionBefore);
        EXPECT_EQ(line, document.line);
        EXPECT_EQ(lineOfCopy, document.line);
        EXPECT_EQ(layout.size(), document.layout.size());
        EXPECT_TRUE(layout == document.layout) << "tens of megabytes, so they are not shown";
    }
}

TEST(JsonParser, ReportsAFaultAtTheBottomOfTheDeepestDocument)
{
    callOnStackOf(stackForTheDeepestDocument, [] {
        const std::string arrays = R"({"a":)" + repeated(arrayDepth, "[");
        EXPECT_EQ(parse(arrays + "x" + repeated(arrayDepth, "]") + "}"),
                  refused(JsonCode::badNumber, arrays.size()));
        EXPECT_EQ(parse(arrays + "}"), refused(JsonCode::elementSeparatorExpected, arrays.size()));
        const std::string objects = "{" + repeated(objectDepth, R"("":{)");
        EXPECT_EQ(parse(objects + "x" + repeated(objectDepth, "}") + "}"),
                  refused(JsonCode::keyExpected, objects.size()));
        EXPECT_EQ(parse(objects + repeated(objectDepth, "}")),
                  refused(JsonCode::memberSeparatorExpected, objects.size() + objectDepth));
    });
}
