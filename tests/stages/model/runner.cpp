// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <iostream>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"
#include "tests/stages/model/Frames.h"

// Runs the program with "-flip" on a configuration file of each text of standard input. The answer
// to a text is, in this order: the exit status (32 bits, -1 if a signal ended the run), and
// three texts: the last line on standard error, the file, and the names of the other files.
namespace {

constexpr char configName[] = "config.json";

std::string lastLine(std::string text)
{
    if (text.ends_with('\n')) {
        text.pop_back();
    }
    return text.substr(text.rfind('\n') + 1);
}

std::string namesBeside()
{
    std::string others;
    for (const std::string& name : namesIn(Appliance::directory)) {
        if (name != configName) {
            others += name + "\n";
        }
    }
    return others;
}

}  // namespace

int main(int /*argc*/, char** argv)
{
    enterPrivateRoot(argv);
    // No GPIO files: each run would sleep for the line's sake, and "-flip" does not heed it.
    Appliance appliance;
    const std::string path = std::string(Appliance::directory) + "/" + configName;
    std::string text;
    while (readText(text)) {
        emptyDirectory(Appliance::directory);
        writeFile(path, text);
        const auto run = appliance.run({path, "-flip"});
        writeNumber(static_cast<std::int32_t>(run.status));
        writeText(lastLine(run.err));
        writeText(readFile(path));
        writeText(namesBeside());
    }
    std::cout.flush();
    return std::cout ? 0 : 1;
}
