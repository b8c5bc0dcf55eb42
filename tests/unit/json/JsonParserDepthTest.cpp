// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "json/JsonWriter.h"
#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

using namespace std::string_view_literals;

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

}  // namespace
