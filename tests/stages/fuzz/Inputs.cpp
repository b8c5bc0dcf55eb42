// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/fuzz/Inputs.h"

#include <cstddef>

#include "tests/dialect/Rows.h"

namespace {

std::string repeated(std::size_t count, const std::string& piece)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

/// The document with the flag as one more member.
std::string withFlag(std::string document)
{
    if (document.starts_with('{')) {
        document.insert(1, "\"App\":{\"isEncoder\":false},");
    }
    return document;
}

/// A configuration file of that size.
std::string longString(std::size_t size)
{
    const std::string rest = withFlag(R"({"long":""})");
    return withFlag("{\"long\":\"" + std::string(size - rest.size(), 'x') + "\"}");
}

}  // namespace

std::vector<Input> documents()
{
    const std::size_t deep = 4'900;
    std::vector<Input> inputs = {
        {"arrays and objects in turn",
         "{\"a\":" + repeated(40, "[{\"k\":") + "1" + repeated(40, "}]") + "}"},
        {"deep arrays", "{\"a\":" + repeated(deep, "[") + repeated(deep, "]") + "}"},
        {"deep objects", repeated(deep / 3, "{\"\":") + "1" + repeated(deep / 3, "}")},
        {"only opening brackets", "{\"a\":" + repeated(9'990, "[") + "}"},
        {"only opening braces", repeated(2'000, "{\"a\":") + "}"},
    };
    for (const TextRow& row : textRows()) {
        inputs.push_back({row.name, row.text});
    }
    return inputs;
}

std::vector<Input> configurations()
{
    std::vector<Input> inputs = {
        {"nothing", ""},
        {"as large as can be", longString(10'000)},
        {"one byte too large", longString(10'001)},
        {"much too large", longString(11'900)},
    };
    for (const FileRow& row : fileRows()) {
        inputs.push_back({row.name, row.file});
    }
    for (const Input& document : documents()) {
        inputs.push_back({document.name, withFlag(document.text)});
    }
    return inputs;
}
