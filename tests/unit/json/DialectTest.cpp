// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <string>

#include "json/JsonWriter.h"
#include "tests/dialect/Rows.h"
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

}  // namespace
