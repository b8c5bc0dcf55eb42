// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "bench/json/Job.h"

// Times the job of each library on each document.
// usage: json-benchmark DOCUMENT… [--benchmark_…]
namespace {

struct Library {
    const char* name;
    Job job;
};

const Library libraries[] = {
    {"byte patch", jobOfBytePatch},   {"json/", jobOfOurs},
    {"RapidJSON", jobOfRapidJson},    {"RapidJSON, same bytes", jobOfRapidJsonSame},
    {"yyjson", jobOfYyjson},          {"yyjson, same bytes", jobOfYyjsonSame},
    {"nlohmann-json", jobOfNlohmann}, {"jsoncpp", jobOfJsonCpp},
    {"json-c", jobOfJsonC},           {"jansson", jobOfJansson},
    {"Boost.JSON", jobOfBoost},
};

std::string read(const char* path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    std::string document = text.str();
    while (document.ends_with('\n')) {
        document.pop_back();
    }
    return document;
}

void run(benchmark::State& state, Job job, const std::string& document)
{
    for ([[maybe_unused]] auto turn : state) {
        benchmark::DoNotOptimize(job(document));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(document.size()));
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    for (const Library& library : libraries) {
        for (int index = 1; library.job != nullptr && index < argc; ++index) {
            const std::string name = std::string(library.name) + "|" + argv[index];
            benchmark::RegisterBenchmark(name.c_str(), run, library.job, read(argv[index]));
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
