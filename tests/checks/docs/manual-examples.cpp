// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"

// Runs the examples of the manual in a simulated appliance whose switch is low, in the order of the
// page and in one directory, and compares what they print with what the page says. A line that
// begins with "# " is a command; those that follow are its output.
namespace {

constexpr char config[] = R"({"App": {"isEncoder": false}})";

/// What the page's source stands for in the literal blocks of the examples.
std::vector<std::string> examplesOf(const std::string& page)
{
    std::vector<std::string> examples;
    std::istringstream lines(page);
    bool inSection = false;
    bool inBlock = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(".Sh ")) {
            inSection = line == ".Sh EXAMPLES";
        } else if (inSection && line.starts_with(".Bd ")) {
            inBlock = true;
            examples.emplace_back();
        } else if (line == ".Ed") {
            inBlock = false;
        } else if (inSection && inBlock) {
            examples.back() += line + '\n';
        }
    }
    return examples;
}

/// A script that prints each command as the page shows it and then runs it.
std::string scriptOf(const std::string& example)
{
    std::string script = "exec 2>&1\n";
    std::istringstream lines(example);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("# ")) {
            // The status of the command before is there for the next one to show.
            script += "last=$?; cat <<'EOF'\n" + line + "\nEOF\n(exit $last) || :; ";
            script += line == "# echo $?" ? "echo $last\n" : line.substr(2) + '\n';
        }
    }
    return script;
}

std::string outputOf(const std::string& script)
{
    writeFile("/tmp/example", script);
    std::string output;
    FILE* const pipe = popen("sh /tmp/example", "r");
    for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe)) {
        output += static_cast<char>(byte);
    }
    pclose(pipe);
    return output;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: manual-examples MANUAL\n";
        return 2;
    }
    const std::string page = readFile(argv[1]);
    // Proot runs this anew, inside the root; then the page came with the environment.
    if (std::getenv("MANUAL_PAGE") == nullptr) {
        setenv("MANUAL_PAGE", page.c_str(), 1);
    }
    enterPrivateRoot(argv);
    const std::string directory = executableDirectory();
    setenv("PATH", (directory + ":" + std::getenv("PATH")).c_str(), 1);

    Appliance appliance;
    appliance.setSwitch(Switch::low);
    writeFile("app.json", std::string(config) + '\n');
    int failures = 0;
    const std::vector<std::string> examples = examplesOf(std::getenv("MANUAL_PAGE"));
    for (const std::string& example : examples) {
        const std::string output = outputOf(scriptOf(example));
        if (output != example) {
            std::cout << "The manual says:\n" << example << "The commands print:\n" << output;
            ++failures;
        }
        // The kernel holds some ten records and then lets the sender wait.
        appliance.systemLog.drain();
    }
    if (examples.empty()) {
        std::cout << "The manual has no examples.\n";
    }
    return failures == 0 && !examples.empty() ? 0 : 1;
}
