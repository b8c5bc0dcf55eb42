// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cstddef>
#include <iostream>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/stages/fuzz/Inputs.h"
#include "tests/stages/fuzz/Oracles.h"

namespace {

// A large document in the seed corpus leads to nothing but large ones, and few of them.
constexpr std::size_t largestSeed = 1'000;

}  // namespace

// Writes the seed corpus as files for libFuzzer: documents, and the same after the two bytes that
// the update's oracle takes. The large ones are run once, and are no seeds.
// usage: write-seeds DIRECTORY
int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: write-seeds DIRECTORY\n";
        return 2;
    }
    const std::string directory = argv[1];
    for (const std::string name :
         {"/documents", "/updates", "/large-documents", "/large-updates"}) {
        emptyDirectory(directory + name);
    }
    std::vector<Input> inputs = seeds();
    for (const Input& regression : regressions()) {
        inputs.push_back(regression);
    }
    const std::vector<std::string> choices = updateChoices();
    std::size_t next = 0;
    for (const Input& input : inputs) {
        const std::string kind = input.text.size() > largestSeed ? "/large-" : "/";
        writeFile(directory + kind + "documents/" + input.name, input.text);
        for (int times = 0; times < 4; ++times) {
            next = (next + 77) % choices.size();
            writeFile(directory + kind + "updates/" + input.name + " " + std::to_string(next),
                      choices[next] + input.text);
        }
    }
}
