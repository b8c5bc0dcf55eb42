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

constexpr Library libraries[] = {
    {"byte patch", jobOfBytePatch},
    {"json/", jobOfOurs},
#ifdef BENCH_RAPIDJSON
    {"RapidJSON", jobOfRapidJson},
#endif
#ifdef BENCH_RAPIDJSON_SAME
    {"RapidJSON, same bytes", jobOfRapidJsonSame},
#endif
#ifdef BENCH_YYJSON
    {"yyjson", jobOfYyjson},
#endif
#ifdef BENCH_YYJSON_SAME
    {"yyjson, same bytes", jobOfYyjsonSame},
#endif
#ifdef BENCH_NLOHMANN
    {"nlohmann-json", jobOfNlohmann},
#endif
#ifdef BENCH_JSONCPP
    {"jsoncpp", jobOfJsonCpp},
#endif
#ifdef BENCH_JSONC
    {"json-c", jobOfJsonC},
#endif
#ifdef BENCH_JANSSON
    {"jansson", jobOfJansson},
#endif
#ifdef BENCH_BOOST
    {"Boost.JSON", jobOfBoost},
#endif
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
        for (int index = 1; index < argc; ++index) {
            const std::string name = std::string(library.name) + "|" + argv[index];
            benchmark::RegisterBenchmark(name.c_str(), run, library.job, read(argv[index]));
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
