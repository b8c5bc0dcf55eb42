// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/faults/RunKind.h"

#include <sys/stat.h>

#include <algorithm>

#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

namespace {

const std::string initError = "Cannot init GPIO17\n";
const std::string readError = "Cannot read GPIO17 status\n";

// The text is larger than the 8 KiB of a file stream's buffer and below the limit of 10,000 bytes;
// the tree is larger than what the C library takes from the kernel at first.
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

void noSwitch(Appliance& appliance)
{
    appliance.setSwitch(Switch::notThere);
}

void exportedSwitch(Appliance& appliance, Switch state)
{
    appliance.setSwitch(state);
    writeFile("/sys/class/gpio/export", "");
}

/// The line's folder cannot be listed, only entered, so that the program asks for the export; no
/// second process has to make the line.
void switchToExport(Appliance& appliance)
{
    exportedSwitch(appliance, Switch::low);
    chmod("/sys/class/gpio/gpio17", 0311);
}

}  // namespace

void PrintTo(const RunKind& kind, std::ostream* out)
{
    *out << kind.name;
}

const std::vector<RunKind>& runKinds()
{
    static const std::vector<RunKind> kinds = {
        {"Flip",
         {configPath, "-flip"},
         handwritten("false"),
         rewritten("true"),
         "Decoder",
         1,
         {initError},
         noSwitch},
        {"LargeFlip",
         {configPath, "-flip"},
         largeDocument("true"),
         largeRewritten("false"),
         "Encoder",
         0,
         {initError},
         noSwitch},
        {"UpdateBySwitch",
         {configPath},
         handwritten("false"),
         rewritten("true"),
         "Decoder",
         1,
         {"", initError, readError},
         [](Appliance& appliance) { exportedSwitch(appliance, Switch::low); }},
        {"QueryOfAFile",
         {configPath, "-query"},
         handwritten("false"),
         handwritten("false"),
         "Decoder",
         0,
         {"", initError, readError},
         switchToExport},
        {"NothingDecides",
         {configPath},
         handwritten("false"),
         handwritten("false"),
         "Decoder",
         210,
         {readError, initError},
         [](Appliance& appliance) { exportedSwitch(appliance, Switch::unreadable); }},
        {"SyntaxError",
         {configPath, "-flip"},
         "\n{\"App\":{\"isEncoder\":null;}}\n",
         "\n{\"App\":{\"isEncoder\":null;}}\n",
         "",
         174,
         {initError},
         noSwitch},
    };
    return kinds;
}

const RunKind& runKind(const std::string& name)
{
    return *std::ranges::find(runKinds(), name, &RunKind::name);
}

RunKind nextOf(const RunKind& kind)
{
    RunKind next = kind;
    next.before = kind.after;
    next.fileMode = kind.status == 1 ? "Encoder" : "Decoder";
    if (kind.flips()) {
        next.status = 1 - kind.status;
        // The flag is the only boolean.
        const std::string was = kind.status == 1 ? "true" : "false";
        next.after.replace(next.after.find(was), was.size(), kind.status == 1 ? "false" : "true");
    }
    return next;
}

void arrange(const RunKind& kind, Appliance& appliance)
{
    writeFile(configPath, kind.before);
    kind.arrangeSwitch(appliance);
}
