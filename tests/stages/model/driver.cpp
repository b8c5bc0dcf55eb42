// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>

#include "json/JsonParser.h"
#include "json/JsonValue.h"
#include "json/JsonWriter.h"
#include "tests/stages/model/Frames.h"

// Parses and writes each text of standard input. The answer to a text is, in this order: the code
// (32 bits), the position (64 bits, 0 on success), the broken promises (8 bits), and three texts:
// the tree written at level 0, at level 2, and described with its kinds. After a failure they are
// empty.
namespace {

// What a caller is promised besides the result.
constexpr std::uint8_t positionTouchedOnSuccess = 1;
constexpr std::uint8_t destinationTouchedOnFailure = 2;
constexpr std::uint8_t keysOutOfOrder = 4;

struct Answer {
    JsonCode code = JsonCode::ok;
    std::uint64_t position = 0;
    std::uint8_t brokenPromises = 0;
    std::string compact;
    std::string layout;
    std::string description;
};

void describeValue(const JsonValue& value, Answer& answer);

void describeString(const std::string& string, std::string& description)
{
    description += std::to_string(string.size()) + ":" + string;
}

void describeNumber(double number, std::string& description)
{
    if (std::isnan(number)) {
        // The remaining bits are the C library's choice.
        description += std::signbit(number) ? "-nan" : "nan";
        return;
    }
    std::array<char, 16> hex{};
    const auto result =
        std::to_chars(hex.begin(), hex.end(), std::bit_cast<std::uint64_t>(number), 16);
    description.append(static_cast<std::size_t>(hex.end() - result.ptr), '0');
    description.append(hex.begin(), result.ptr);
}

void describeObject(const JsonObject& object, Answer& answer)
{
    answer.description += "(";
    const JsonMember* before = nullptr;
    for (const JsonMember& member : object) {
        if (before != nullptr && before->name >= member.name) {
            answer.brokenPromises |= keysOutOfOrder;
        }
        before = &member;
        describeString(member.name, answer.description);
        answer.description += "=";
        describeValue(member.value, answer);
        answer.description += ",";
    }
    answer.description += ")";
}

void describeArray(const JsonArray& array, Answer& answer)
{
    answer.description += "(";
    for (const JsonValue& element : array) {
        describeValue(element, answer);
        answer.description += ",";
    }
    answer.description += ")";
}

void describeValue(const JsonValue& value, Answer& answer)
{
    answer.description += shortName(value.type());
    answer.description += " ";
    switch (value.type()) {
    case JsonType::null:
    case JsonType::unknown:
        break;
    case JsonType::integer:
        answer.description += std::to_string(value.integer());
        break;
    case JsonType::real:
        describeNumber(value.real(), answer.description);
        break;
    case JsonType::boolean:
        answer.description += value.boolean() ? "1" : "0";
        break;
    case JsonType::string:
        describeString(value.string(), answer.description);
        break;
    case JsonType::object:
        describeObject(value.object(), answer);
        break;
    case JsonType::array:
        describeArray(value.array(), answer);
        break;
    }
}

/// A destination that holds something already, so that what becomes of it can be seen.
JsonObject usedDestination()
{
    JsonObject object;
    JsonMember& member = object["held before"];
    member.name = "held before";
    member.value.setString("text");
    return object;
}

Answer answerTo(const std::string& text)
{
    static const std::string heldBefore = JsonWriter::writeObject(usedDestination(), 0);
    constexpr std::uint64_t positionBefore = 0x5A5A5A5A5A5A5A5A;

    Answer answer;
    JsonObject destination = usedDestination();
    std::uint64_t position = positionBefore;
    answer.code = JsonParser::parse(destination, text, position);
    if (answer.code != JsonCode::ok) {
        answer.position = position;
        if (JsonWriter::writeObject(destination, 0) != heldBefore) {
            answer.brokenPromises |= destinationTouchedOnFailure;
        }
        return answer;
    }
    if (position != positionBefore) {
        answer.brokenPromises |= positionTouchedOnSuccess;
    }
    answer.compact = JsonWriter::writeObject(destination, 0);
    answer.layout = JsonWriter::writeObject(destination, 2);
    describeObject(destination, answer);
    return answer;
}

}  // namespace

int main()
{
    std::ios::sync_with_stdio(false);
    std::string text;
    while (readText(text)) {
        const Answer answer = answerTo(text);
        writeNumber(static_cast<std::int32_t>(answer.code));
        writeNumber(answer.position);
        writeNumber(answer.brokenPromises);
        writeText(answer.compact);
        writeText(answer.layout);
        writeText(answer.description);
    }
    std::cout.flush();
    return std::cout ? 0 : 1;
}
