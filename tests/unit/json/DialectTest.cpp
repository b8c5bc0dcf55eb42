// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "json/JsonWriter.h"
#include "tests/dialect/Rows.h"
#include "tests/unit/json/CheckedMemory.h"
#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

// The rows of tests/dialect/, which the reference model has too.
namespace {

void appendKinds(const JsonValue& value, std::string& kinds)
{
    if (value.type() == JsonType::object && !value.object().empty()) {
        for (const JsonMember& member : value.object()) {
            appendKinds(member.value, kinds);
        }
    } else if (value.type() == JsonType::array && !value.array().empty()) {
        for (const JsonValue& element : value.array()) {
            appendKinds(element, kinds);
        }
    } else {
        const std::string kind = value.type() == JsonType::object  ? "{}"
                                 : value.type() == JsonType::array ? "[]"
                                                                   : shortName(value.type());
        kinds += (kinds.empty() ? "" : " ") + kind;
    }
}

std::string kindsIn(const JsonObject& tree)
{
    JsonValue root;
    root.setObject(tree);
    std::string kinds;
    appendKinds(root, kinds);
    return kinds;
}

void expectRow(const TextRow& row)
{
    SCOPED_TRACE(row.name);
    const Outcome outcome = parse(row.text);
    if (row.code != JsonCode::ok) {
        EXPECT_EQ(outcome, refused(row.code, row.position));
        return;
    }
    EXPECT_EQ(outcome, accepted(outcome.destination));
    EXPECT_EQ(JsonWriter::writeObject(outcome.destination, 0), row.compact);
    EXPECT_EQ(kindsIn(outcome.destination), row.kinds);
    if (!row.layout.empty()) {
        EXPECT_EQ(JsonWriter::writeObject(outcome.destination, 2), row.layout);
    }
}

TEST(Dialect, IsReadAndWrittenAsEachRowSays)
{
    for (const TextRow& row : textRows()) {
        expectRow(row);
    }
}

// The spaces make the text too long for the buffer inside a std::string: it stands alone in an
// allocation that ends with its NUL, and a sanitizer notices a read past that.
TEST(Dialect, IsReadAlikeAfterSpaces)
{
    const std::string spaces(16, ' ');
    for (const TextRow& row : textRows()) {
        if (row.text.starts_with('{')) {
            SCOPED_TRACE(row.name);
            const Outcome plain = parse(row.text);
            const Outcome outcome = parse("{" + spaces + row.text.substr(1));
            const bool isMoved = row.code != JsonCode::ok && row.position > 0;
            EXPECT_EQ(outcome.code, plain.code);
            EXPECT_EQ(outcome.position, plain.position + (isMoved ? spaces.size() : 0));
            EXPECT_EQ(outcome.destination, plain.destination);
        }
    }
}

// Left out is a failure at the end of the text, which is no end there.
TEST(Dialect, IsReadAlikeDeepInAnotherDocument)
{
    const std::string before = R"({"i":[1,{}],"j":{"k":[[],{"a":1}, )";
    for (const TextRow& row : textRows()) {
        const bool isWhole = row.text.starts_with('{') && row.text.ends_with('}') &&
                             row.text.find('\0') == std::string::npos &&
                             row.code != JsonCode::trailingText;
        if (!isWhole || row.position == row.text.size()) {
            continue;
        }
        SCOPED_TRACE(row.name);
        const Outcome outcome = parse(before + row.text + ",2]}}");
        if (row.code != JsonCode::ok) {
            EXPECT_EQ(outcome, refused(row.code, before.size() + row.position));
            continue;
        }
        JsonValue element;
        element.setObject(parse(row.text).destination);
        const JsonValue elements =
            array({array({}), object({{"a", integer(1)}}), element, integer(2)});
        EXPECT_EQ(outcome, accepted(members({{"i", array({integer(1), object({})})},
                                             {"j", object({{"k", elements}})}})));
    }
}

TEST(Dialect, LeavesNoMemoryAllocated)
{
    const auto useAll = [] {
        for (const TextRow& row : textRows()) {
            (void)parse(row.text);
        }
    };
    useAll();
    const std::int64_t before = liveBlocks();
    useAll();
    EXPECT_EQ(liveBlocks(), before);
}

}  // namespace
