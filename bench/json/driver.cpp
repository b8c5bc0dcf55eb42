// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "bench/json/Job.h"
#ifndef BENCH_JOB
#include "json/JsonParser.h"
#endif

namespace {

#ifdef BENCH_JOB
constexpr Job job = BENCH_JOB;
bool parse(const std::string& document)
{
    return !job(document).empty();
}
#else
constexpr Job job = jobOfOurs;
bool parse(const std::string& document)
{
    JsonObject root;
    std::uint64_t position = 0;
    return JsonParser::parse(root, document, position) == JsonCode::ok;
}
#endif

std::string readDocument(const char* path)
{
    std::FILE* const file = std::fopen(path, "rb");
    if (file == nullptr) {
        return {};
    }
    std::fseek(file, 0, SEEK_END);
    std::string document(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    document.resize(std::fread(document.data(), 1, document.size(), file));
    std::fclose(file);
    return document;
}

}  // namespace

// Does one thing with a document, so that the instructions of the thing are those of the program
// less those of "read".
// usage: driver read|parse|job|print FILE
int main(int argc, char** argv)
{
    if (argc != 3) {
        return 2;
    }
    const std::string_view action = argv[1];
    std::string document = readDocument(argv[2]);
    while (document.ends_with('\n')) {
        document.pop_back();
    }
    if (action == "read") {
        return document.empty() ? 1 : 0;
    }
    if (action == "parse") {
        return parse(document) ? 0 : 1;
    }
    const std::string text = job(document);
    if (action == "print") {
        std::fwrite(text.data(), 1, text.size(), stdout);
    }
    return text.empty() ? 1 : 0;
}
