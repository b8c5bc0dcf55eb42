// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <syslog.h>

#include <iostream>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"

// Shows the program at work in a simulated appliance, scene by scene. Each scene starts with the
// configuration that the previous one left.
namespace {

constexpr char config[] =
    R"({ "Net" : { "mtu": 1500, "dhcp": true, "dns": ["10.0.0.1", "10.0.0.2"] },
  "App" : { "isEncoder": false, "Name": "rack 7" } }
)";

void printIndented(const std::string& heading, const std::string& text)
{
    std::cout << "  " << heading << '\n';
    std::string line;
    for (const char byte : text) {
        line += byte;
        if (byte == '\n') {
            std::cout << "    | " << line;
            line.clear();
        }
    }
    if (!line.empty()) {
        std::cout << "    | " << line << '\n';
    }
}

void play(Appliance& appliance, const std::string& scene, const std::vector<std::string>& arguments)
{
    std::cout << "== " << scene << "\n  $ switch-querier";
    for (const std::string& argument : arguments) {
        std::cout << ' ' << argument;
    }
    std::cout << '\n';
    const RunResult run = appliance.run(arguments);
    if (!run.out.empty()) {
        printIndented("standard output:", run.out);
    }
    if (!run.err.empty()) {
        printIndented("standard error:", run.err);
    }
    for (const LogRecord& record : run.log) {
        printIndented(std::string("system log, ") + (record.level == LOG_ERR ? "error" : "info") +
                          ", " + record.identity + ":",
                      record.text);
    }
    std::cout << "  exit status: " << run.status << "\n\n";
}

}  // namespace

int main(int /*argc*/, char** argv)
{
    enterPrivateRoot(argv);
    Appliance appliance;
    writeFile("config.json", config);
    std::cout << "A simulated appliance: its switch, marker files, system log and configuration\n"
                 "are plain files in a private root directory of this process.\n\n";
    printIndented("config.json before:", config);
    std::cout << '\n';

    appliance.setSwitch(Switch::low);
    play(appliance, "What is there to see? The switch is at 0.", {"-query"});
    play(appliance, "The switch is at 0: the configuration is changed to encoder", {"config.json"});
    play(appliance, "The same again: nothing to do", {"config.json"});
    printIndented("config.json now:", readFile("config.json"));
    std::cout << '\n';

    appliance.setSwitch(Switch::high);
    play(appliance, "The switch is at 1: back to decoder", {"config.json"});

    appliance.setMarker("ENCODER");
    play(appliance, "The marker file /config/ENCODER is stronger than the switch", {"config.json"});
    play(appliance, "The command line is stronger than both", {"config.json", "-flip"});

    appliance.setSwitch(Switch::unreadable);
    play(appliance, "The switch cannot be read: the marker file still decides", {"config.json"});
    play(appliance, "A failure: its number is the exit status", {"missing.json"});

    printIndented("config.json after:", readFile("config.json"));
    return 0;
}
