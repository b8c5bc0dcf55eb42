// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "json/JsonWriter.h"
#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

namespace {

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

/// Calls the function on a stack of its own.
void callOnASmallStack(std::function<void()> function)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stackForTheDeepestDocument), 0);
    pthread_t thread;
    const auto call = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, call, &function), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
}

std::string repeated(std::size_t count, const std::string& piece)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

/// The deepest document of a kind that fits into the 10,000 bytes of a configuration file.
struct DeepDocument {
    const char* name;
    std::size_t depth;    ///< of what is inside the root
    std::string first;    ///< the line that opens the outermost one
    std::string opening;  ///< the line that opens another one
    std::string closing;
    JsonCode fault;  ///< of an "x" inside the innermost one
};

const DeepDocument documents[] = {
    {"arrays", (10'000 - 6) / 2, "\"a\": [", "[", "]", JsonCode::badNumber},
    {"objects", (10'000 - 2) / 5, "\"\": {", "\"\": {", "}", JsonCode::keyExpected},
};

std::string openings(const DeepDocument& document)
{
    return "{" + document.first + repeated(document.depth - 1, document.opening);
}

std::string compactText(const DeepDocument& document)
{
    return openings(document) + repeated(document.depth, document.closing) + "}";
}

std::string layout(const DeepDocument& document)
{
    const auto indented = [](std::size_t depth, const std::string& line) {
        return "\n" + std::string(4 + 2 * depth, ' ') + line;
    };
    std::string text = "{" + indented(0, document.first);
    for (std::size_t depth = 1; depth < document.depth; ++depth) {
        text += indented(depth, document.opening);
    }
    text += document.closing;
    for (std::size_t depth = document.depth - 1; depth > 0; --depth) {
        text += indented(depth - 1, document.closing);
    }
    return text + "\n  }";
}

std::string withoutSpaces(std::string text)
{
    std::erase(text, ' ');
    return text;
}

TEST(JsonParser, ReadsCopiesAndWritesTheDeepestDocumentOnASmallStack)
{
    for (const DeepDocument& document : documents) {
        SCOPED_TRACE(document.name);
        const std::string text = withoutSpaces(compactText(document));
        ASSERT_GT(text.size(), 9'995U);
        ASSERT_LE(text.size(), 10'000U);
        JsonCode code = JsonCode::notAnObject;
        std::string written;
        std::string writtenLayout;
        std::string writtenCopy;
        callOnASmallStack([&] {
            JsonObject tree;
            std::uint64_t position = 0;
            code = JsonParser::parse(tree, text, position);
            written = JsonWriter::writeObject(tree, 0);
            writtenLayout = JsonWriter::writeObject(tree, 2);
            const JsonObject copy = tree;
            tree.clear();
            writtenCopy = JsonWriter::writeObject(copy, 0);
        });
        EXPECT_EQ(code, JsonCode::ok);
        EXPECT_EQ(written, compactText(document));
        EXPECT_EQ(writtenCopy, compactText(document));
        EXPECT_TRUE(writtenLayout == layout(document))
            << "tens of megabytes, so they are not shown";
    }
}

TEST(JsonParser, ReportsAFaultAtTheBottomOfTheDeepestDocument)
{
    for (const DeepDocument& document : documents) {
        SCOPED_TRACE(document.name);
        const std::string before = withoutSpaces(openings(document));
        callOnASmallStack([&] {
            EXPECT_EQ(parse(before + "x" + repeated(document.depth, document.closing) + "}"),
                      refused(document.fault, before.size()));
        });
    }
}

}  // namespace
