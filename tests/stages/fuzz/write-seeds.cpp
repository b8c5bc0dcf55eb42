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

/// Writes the inputs as files, one kind of the seed corpus.
void write(const std::string& directory, const std::string& kind, const std::vector<Input>& inputs)
{
    emptyDirectory(directory + "/" + kind);
    emptyDirectory(directory + "/large-" + kind);
    std::size_t number = 0;
    for (const Input& input : inputs) {
        const std::string name = std::to_string(++number) + " " + input.name;
        const std::string size = input.text.size() > largestSeed ? "/large-" : "/";
        writeFile(directory + size + kind + "/" + name, input.text);
    }
}

}  // namespace

// Writes the seed corpus as files for libFuzzer: documents, and configurations after the two bytes
// that the update's oracle takes. The large ones are run once, and are no seeds.
// usage: write-seeds DIRECTORY
int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: write-seeds DIRECTORY\n";
        return 2;
    }
    std::vector<Input> updates = configurations();
    const std::vector<std::string> choices = updateChoices();
    std::size_t next = 0;
    for (Input& update : updates) {
        next = (next + 77) % choices.size();
        update.text.insert(0, choices[next]);
    }
    write(argv[1], "documents", documents());
    write(argv[1], "updates", updates);
}
