// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cstddef>
#include <iostream>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/stages/fuzz/Inputs.h"

namespace {

// A large document at the beginning leads to nothing but large ones, and few of them.
constexpr std::size_t largestSeed = 1'000;

}  // namespace

// Writes the inputs as files for libFuzzer: documents, and the same with the two bytes before them
// that the update takes. The large ones are to be tried, not to begin with.
// usage: write-seeds FOLDER
int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: write-seeds FOLDER\n";
        return 2;
    }
    const std::string folder = argv[1];
    for (const std::string name :
         {"/documents", "/updates", "/large-documents", "/large-updates"}) {
        emptyFolder(folder + name);
    }
    std::vector<Input> inputs = seeds();
    for (const Input& regression : regressions()) {
        inputs.push_back(regression);
    }
    const std::vector<std::string> choices = updateChoices();
    std::size_t next = 0;
    for (const Input& input : inputs) {
        const std::string kind = input.text.size() > largestSeed ? "/large-" : "/";
        writeFile(folder + kind + "documents/" + input.name, input.text);
        for (int times = 0; times < 4; ++times) {
            next = (next + 77) % choices.size();
            writeFile(folder + kind + "updates/" + input.name + " " + std::to_string(next),
                      choices[next] + input.text);
        }
    }
}
