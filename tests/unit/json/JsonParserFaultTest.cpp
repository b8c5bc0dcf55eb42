// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

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
        {"trailing text", JsonCode::trailingText, -2},
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
                                    "|}"s,
                                    "~}"s,
                                    "\x7f}"s,
                                    "{~"s,
                                    "{}~"s,
                                    "{}\x7f"s,
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

TEST(JsonParser, RefusesTextAfterTheClosedObject)
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
                  JsonCode::trailingText);
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
                   {R"({"a":"x")", R"(~})"},
                   {R"({"a":[])", "\x7f}"},
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
    EXPECT_EQ(parse(R"({}}tru})"), refused(JsonCode::trailingText, 2));
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
    EXPECT_EQ(parse("{} \0}"sv), refused(JsonCode::trailingText, 2));
}

// With 16 spaces before them the texts are too long for the buffer inside a std::string, and
// stand alone in an allocation that ends with their NUL.
TEST(JsonParser, NeverReadsPastTheEndOfTheText)
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
        {"}}", JsonCode::trailingText, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rest);
        const std::string before = "{" + std::string(16, ' ');
        EXPECT_EQ(parse(before + row.rest), refused(row.code, before.size() + row.position));
    }
}

}  // namespace
