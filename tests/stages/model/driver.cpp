// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <iostream>
#include <string>

#include "json/JsonParser.h"
#include "json/JsonWriter.h"
#include "tests/dialect/Description.h"
#include "tests/stages/model/Frames.h"

// Parses and writes each text of standard input. The answer to a text is, in this order: the code
// (4 bytes), the position (8 bytes, 0 on success), the broken promises (1 byte), and three texts:
// the tree written at level 0, at level 2, and described. After a failure they are empty.
namespace {

// What a caller is promised besides the result.
constexpr int positionTouchedOnSuccess = 1;
constexpr int destinationTouchedOnFailure = 2;

struct Answer {
    JsonCode code = JsonCode::ok;
    std::uint64_t position = 0;
    int brokenPromises = 0;
    std::string compact;
    std::string layout;
    std::string description;
};

/// A destination that holds something already, so that what becomes of it can be seen.
JsonObject usedDestination()
{
    JsonValue text;
    text.setString("text");
    JsonObject object;
    object.insertOrAssign("held before", text);
    return object;
}

Answer answerTo(const std::string& text)
{
    static const std::string heldBefore = describe(usedDestination());
    constexpr std::uint64_t positionBefore = 0x5A5A5A5A5A5A5A5A;

    Answer answer;
    JsonObject destination = usedDestination();
    std::uint64_t position = positionBefore;
    answer.code = JsonParser::parse(destination, text, position);
    if (answer.code != JsonCode::ok) {
        answer.position = position;
        if (describe(destination) != heldBefore) {
            answer.brokenPromises |= destinationTouchedOnFailure;
        }
        return answer;
    }
    if (position != positionBefore) {
        answer.brokenPromises |= positionTouchedOnSuccess;
    }
    answer.compact = JsonWriter::writeObject(destination, 0);
    answer.layout = JsonWriter::writeObject(destination, 2);
    answer.description = describe(destination);
    return answer;
}

}  // namespace

int main()
{
    std::ios::sync_with_stdio(false);
    std::string text;
    while (readText(text)) {
        const Answer answer = answerTo(text);
        writeNumber(static_cast<std::int32_t>(answer.code), 4);
        writeNumber(static_cast<std::int64_t>(answer.position), 8);
        writeNumber(answer.brokenPromises, 1);
        writeText(answer.compact);
        writeText(answer.layout);
        writeText(answer.description);
    }
    std::cout.flush();
    return std::cout ? 0 : 1;
}
