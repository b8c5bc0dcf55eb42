// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <iostream>
#include <map>
#include <regex>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"
#include "tests/stages/model/Frames.h"

// Runs the program with "-flip" on a configuration file of each text of standard input. The answer
// to a text is, in this order: the exit status (32 bits, -1 if a signal ended the run), and three
// texts: the last line on standard error, in short, the file, and the names of the other files.
namespace {

constexpr char configName[] = "config.json";

std::string lastLine(std::string text)
{
    if (text.ends_with('\n')) {
        text.pop_back();
    }
    return text.substr(text.rfind('\n') + 1);
}

/// The line without the wording, which the model does not have: "CODE at POSITION", "unreadable",
/// "no flag", "no boolean", or a mode. Any other line stays as it is.
std::string inShort(const std::string& line, const std::string& path)
{
    static const std::regex pattern("(\\d+)\\D+(-\\d+)$");
    std::smatch numbers;
    if (std::regex_search(line, numbers, pattern)) {
        const int code = std::stoi(numbers[2]);
        if (line == "ERROR: " + expected::syntaxError(std::stoul(numbers[1]), code).message) {
            return std::to_string(code) + " at " + numbers[1].str();
        }
    }
    std::map<std::string, std::string> names = {
        {"ERROR: " + expected::unreadable(path).message, "unreadable"},
        {"ERROR: " + expected::flagMissing().message, "no flag"},
        {"ERROR: " + expected::flagNotBoolean().message, "no boolean"},
    };
    for (const int mode : {0, 1}) {
        names[lastLine(expected::report({}, 1 - mode, mode).back())] = expected::modeName(mode);
    }
    const auto found = names.find(line);
    return found == names.end() ? line : found->second;
}

std::string otherNames()
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
    // No GPIO files: each run would sleep for the line, which "-flip" ignores.
    Appliance appliance;
    const std::string path = std::string(Appliance::directory) + "/" + configName;
    std::string text;
    while (readText(text)) {
        emptyDirectory(Appliance::directory);
        writeFile(path, text);
        const auto run = appliance.run({path, "-flip"});
        writeNumber(run.status, 4);
        writeText(inShort(lastLine(run.err), path));
        writeText(readFile(path));
        writeText(otherNames());
    }
    std::cout.flush();
    return std::cout ? 0 : 1;
}
