// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/faults/Scenario.h"

#include <sys/stat.h>

#include <algorithm>

#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

namespace {

// The text is larger than the 8 KiB of a file stream's buffer and below the limit of 10,000 bytes;
// the tree is larger than the memory that the C library first takes from the kernel.
constexpr int firstMember = 1000;
constexpr int lastMember = 1549;

std::string largeDocument(const std::string& flag)
{
    std::string text = "{ \"Net\": {";
    for (int member = firstMember; member <= lastMember; ++member) {
        text += '"' + std::to_string(member) + "\":{},";
    }
    return text + "},\n  \"App\": { \"isEncoder\": " + flag + " } }\n";
}

std::string largeRewritten(const std::string& flag)
{
    std::string text =
        "{\n    \"App\": {\n      \"isEncoder\": " + flag + "\n    },\n    \"Net\": {\n";
    for (int member = firstMember; member <= lastMember; ++member) {
        text +=
            "      \"" + std::to_string(member) + "\": {}" + (member == lastMember ? "\n" : ",\n");
    }
    return text + "    }\n  }";
}

}  // namespace

void PrintTo(const Scenario& scenario, std::ostream* out)
{
    *out << scenario.name;
}

const std::vector<Scenario>& scenarios()
{
    const std::string faulty = "\n{\"App\":{\"isEncoder\":null;}}\n";
    const expected::Configuration recordsDecoder = configurationRecording(false);
    static const std::vector<Scenario> all = {
        {"Flip",
         {.arguments = {configPath, "-flip"}, .configuration = recordsDecoder},
         {Switch::notThere}},
        {"LargeFlip",
         {.arguments = {configPath, "-flip"},
          .configuration = {.text = largeDocument("true"),
                            .mode = 1,
                            .rewritten = largeRewritten("false")}},
         {Switch::notThere}},
        {"UpdateBySwitch",
         {.arguments = {configPath}, .hardware = Switch::low, .configuration = recordsDecoder},
         {Switch::low, Switch::notThere, Switch::unreadable}},
        {"QueryOfAFile",
         {.arguments = {configPath, "-query"},
          .hardware = Switch::low,
          .configuration = recordsDecoder},
         {Switch::low, Switch::notThere, Switch::unreadable},
         false},
        {"NothingDecides",
         {.arguments = {configPath},
          .hardware = Switch::unreadable,
          .configuration = recordsDecoder},
         {Switch::unreadable, Switch::notThere}},
        {"SyntaxError",
         {.arguments = {configPath, "-flip"},
          .configuration = {.text = faulty, .refusal = expected::syntaxError(24, -5)}},
         {Switch::notThere}},
    };
    return all;
}

const Scenario& scenario(const std::string& name)
{
    return *std::ranges::find(scenarios(), name, &Scenario::name);
}

Scenario nextOf(const Scenario& scenario)
{
    Scenario next = scenario;
    expected::Configuration& configuration = next.sources.configuration;
    configuration.text = scenario.after();
    configuration.mode = 1 - configuration.mode;
    configuration.rewritten = configuration.text;
    // The flag is the only boolean.
    const std::string was = configuration.mode == 1 ? "true" : "false";
    configuration.rewritten.replace(configuration.rewritten.find(was), was.size(),
                                    configuration.mode == 1 ? "false" : "true");
    return next;
}

void arrange(const Scenario& scenario, Appliance& appliance)
{
    writeFile(configPath, scenario.before());
    appliance.setSwitch(scenario.sources.hardware);
    if (scenario.sources.hardware != Switch::notThere) {
        writeFile("/sys/class/gpio/export", "");
        chmod("/sys/class/gpio/gpio17", scenario.isExported ? 0755 : 0311);
    }
}
