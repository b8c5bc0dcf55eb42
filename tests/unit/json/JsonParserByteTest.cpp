// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>

#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

// What each of the 256 bytes does at one place of a text.
namespace {

/// A place of a text that is complete without anything there.
struct Place {
    const char* name;
    std::string before;
    std::string after;
    JsonCode code;  ///< of a byte that may not stand there
};

const Place placesBetweenTokens[] = {
    {"in an empty object", R"({)", R"(})", JsonCode::keyExpected},
    {"before a key", R"({)", R"("a":"x"})", JsonCode::keyExpected},
    {"after a key", R"({"a")", R"(:"x"})", JsonCode::colonExpected},
    {"before a value", R"({"a":)", R"("x"})", JsonCode::badNumber},
    {"after a string", R"({"a":"x")", R"(})", JsonCode::memberSeparatorExpected},
    {"after an object", R"({"a":{})", R"(})", JsonCode::memberSeparatorExpected},
    {"after an array", R"({"a":[])", R"(})", JsonCode::memberSeparatorExpected},
    {"after true", R"({"a":true)", R"(})", JsonCode::memberSeparatorExpected},
    {"after null", R"({"a":null)", R"(})", JsonCode::memberSeparatorExpected},
    {"after a number", R"({"a":1 )", R"(})", JsonCode::memberSeparatorExpected},
    {"before a comma", R"({"a":"x")", R"(,"b":1})", JsonCode::memberSeparatorExpected},
    {"after a comma", R"({"a":"x",)", R"("b":1})", JsonCode::keyExpected},
    {"after the last comma", R"({"a":"x",)", R"(})", JsonCode::keyExpected},
    {"in an inner object", R"({"a":{)", R"(}})", JsonCode::keyExpected},
    {"in an empty array", R"({"a":[)", R"(]})", JsonCode::badNumber},
    {"before an element", R"({"a":[)", R"("x"]})", JsonCode::badNumber},
    {"after an element", R"({"a":["x")", R"(]})", JsonCode::elementSeparatorExpected},
    {"after an inner array", R"({"a":[[])", R"(]})", JsonCode::elementSeparatorExpected},
    {"before an array's comma", R"({"a":["x")", R"(,"y"]})", JsonCode::elementSeparatorExpected},
    {"after an array's comma", R"({"a":["x",)", R"("y"]})", JsonCode::badNumber},
    {"after an array's last comma", R"({"a":["x",)", R"(]})", JsonCode::badNumber},
};

TEST(JsonParser, SkipsFourControlBytesBetweenTokensAndRefusesTheOthers)
{
    for (const Place& place : placesBetweenTokens) {
        const Outcome without = parse(place.before + place.after);
        ASSERT_EQ(without.code, JsonCode::ok) << place.name;
        for (int number = 0; number <= 32; ++number) {
            SCOPED_TRACE(place.name + (", byte " + std::to_string(number)));
            const std::string byte = byteOf(number);
            const Outcome one = parse(place.before + byte + place.after);
            const Outcome several = parse(place.before + " \t" + byte + " " + place.after);
            if (isOneOf("\t\n\r ", byte)) {
                EXPECT_EQ(one, without);
                EXPECT_EQ(several, without);
            } else {
                EXPECT_EQ(one, refused(place.code, place.before.size()));
                EXPECT_EQ(several, refused(place.code, place.before.size() + 2));
            }
        }
    }
}

TEST(JsonParser, RefusesATextWithoutABraceAtEitherEnd)
{
    EXPECT_EQ(parse(""), refused(JsonCode::notAnObject, 0));
    for (int number = 0; number < 256; ++number) {
        SCOPED_TRACE("byte " + std::to_string(number));
        const std::string byte = byteOf(number);
        if (byte != "{") {
            EXPECT_EQ(parse(byte + "}"), refused(JsonCode::notAnObject, 0));
        }
        if (byte != "}") {
            EXPECT_EQ(parse("{" + byte), refused(JsonCode::notAnObject, 0));
        }
    }
}

enum class Role { value, element, key };

/// A place inside a string.
struct StringPlace {
    Role role;
    std::string before;
    std::string after;
};

const StringPlace stringPlaces[] = {
    {Role::value, R"({"a":"<)", R"(>"})"},
    {Role::element, R"({"a":["<)", R"(>"]})"},
    {Role::key, R"({"<)", R"(>":1})"},
};

Outcome acceptedAs(Role role, const std::string& bytes)
{
    switch (role) {
    case Role::value:
        return accepted(members({{"a", string(bytes)}}));
    case Role::element:
        return accepted(members({{"a", array({string(bytes)})}}));
    default:
        return accepted(members({{bytes, integer(1)}}));
    }
}

/// Whatever is wrong with a key, the code is one.
Outcome refusedAs(Role role, JsonCode code, std::uint64_t position)
{
    return refused(role == Role::key ? JsonCode::badKey : code, position);
}

TEST(JsonParser, KeepsEveryByteOfAStringFrom32UpAndRefusesAllBelow)
{
    for (const StringPlace& place : stringPlaces) {
        for (int number = 0; number < 256; ++number) {
            const std::string byte = byteOf(number);
            if (isOneOf("\"\\", byte)) {
                continue;
            }
            SCOPED_TRACE(place.before + (", byte " + std::to_string(number)));
            const Outcome outcome = parse(place.before + byte + byte + place.after);
            if (number < 32) {
                EXPECT_EQ(outcome, refusedAs(place.role, JsonCode::controlByteInString,
                                             place.before.size()));
            } else {
                EXPECT_EQ(outcome, acceptedAs(place.role, "<" + byte + byte + ">"));
            }
        }
    }
}

TEST(JsonParser, ReadsSevenEscapesAndRefusesAllOthers)
{
    const std::map<char, std::string> escapes = {{'"', "\x22"}, {'\\', "\x5c"}, {'b', "\x08"},
                                                 {'f', "\x0c"}, {'n', "\x0a"},  {'r', "\x0d"},
                                                 {'t', "\x09"}};
    for (const StringPlace& place : stringPlaces) {
        for (int number = 0; number < 256; ++number) {
            SCOPED_TRACE(place.before + (", byte " + std::to_string(number)));
            const Outcome outcome = parse(place.before + "\\" + byteOf(number) + place.after);
            const auto escape = escapes.find(static_cast<char>(number));
            if (escape != escapes.end()) {
                EXPECT_EQ(outcome, acceptedAs(place.role, "<" + escape->second + ">"));
                continue;
            }
            const JsonCode code =
                number < 32 ? JsonCode::controlByteInString : JsonCode::unknownEscape;
            EXPECT_EQ(outcome, refusedAs(place.role, code, place.before.size() + 1));
        }
    }
}

TEST(JsonParser, EndsANumberAtSevenBytesAndNoOther)
{
    for (int number = 0; number < 256; ++number) {
        SCOPED_TRACE("byte " + std::to_string(number));
        const std::string byte = byteOf(number);
        for (const std::string digits : {"1", "1.5", "0x11", "08"}) {
            if (isOneOf("0123456789.abcdefABCDEFPpx", byte)) {
                continue;  // it can be a part of the number
            }
            const JsonCode asMember = parse("{\"a\":" + digits + byte + "}").code;
            const JsonCode asElement = parse("{\"a\":[" + digits + byte + "]}").code;
            const bool isEnd = isOneOf("\t\n\r ,]}", byte);
            EXPECT_EQ(asMember != JsonCode::badNumber, isEnd) << digits;
            EXPECT_EQ(asElement != JsonCode::badNumber, isEnd) << digits;
        }
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

}  // namespace
