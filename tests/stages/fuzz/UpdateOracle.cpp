// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <sstream>
#include <vector>

#include "app/ConfigUpdate.h"
#include "app/ExitStatus.h"
#include "tests/appliance/Files.h"
#include "tests/stages/fuzz/Oracles.h"
#include "json/JsonParser.h"
#include "json/JsonWriter.h"

namespace fs = std::filesystem;

namespace {

const std::string folder = "/appliance";
const std::string path = folder + "/config.json";
const std::string temporary = path + ".filsec";
const std::string leftOverText = "left over";

/// What stands where the temporary file is to be, and whether the folder can be written.
enum class Beside : unsigned {
    nothing,
    leftOver,
    directory,
    fullDevice,     ///< takes no byte
    locked,         ///< nothing, and no file can be made
    lockedLeftOver  ///< a left-over file that cannot be renamed
};

struct Choice {
    ModeSources sources;
    bool query;
    Beside beside;
};

Choice choiceOf(unsigned char first, unsigned char second)
{
    return {{.parameter = first % 4 - 1,
             .overrideFile = first / 4 % 3 - 1,
             .hardware = first / 12 % 3 - 1},
            second % 2 == 1,
            static_cast<Beside>(second / 2 % 6)};
}

/// All that an update leaves behind.
struct Outcome {
    int status = -1;
    std::string error;
    std::string info;
    std::string report;
    std::string file;       ///< what the configuration file holds
    std::string temporary;  ///< what the temporary file holds, or what it is

    bool operator==(const Outcome&) const = default;
};

std::string nameOr(const std::string& none, int mode)
{
    return mode < 0 ? none : mode == 0 ? "Decoder" : "Encoder";
}

int decided(const ModeSources& sources, int configured)
{
    const std::array<int, 3> byParameter = {0, 1, 1 - configured};
    if (sources.parameter >= 0) {
        return byParameter[static_cast<std::size_t>(sources.parameter)];
    }
    return sources.overrideFile >= 0 ? sources.overrideFile : sources.hardware;
}

std::string reportOf(const ModeSources& sources, int configured, int decision)
{
    const std::string parameter = sources.parameter == 2
                                      ? "Flipped to " + nameOr("", 1 - configured)
                                      : nameOr("None", sources.parameter);
    return "Hardware switch: " + nameOr("Could not be determined", sources.hardware) +
           "\nConfig file    : " + nameOr("", configured) + "\nOverride parm  : " + parameter +
           "\nOverride file  : " + nameOr("None", sources.overrideFile) +
           "\nNew setting    : " + nameOr("Not specified", decision) + "\n";
}

std::string trimmed(const std::string& text)
{
    const auto shows = [](char byte) { return static_cast<unsigned char>(byte) > 32; };
    const auto begin = std::find_if(text.begin(), text.end(), shows);
    const auto end = std::find_if(text.rbegin(), text.rend(), shows).base();
    return begin < end ? std::string(begin, end) : "";
}

JsonValue* memberIn(JsonObject& object, const std::string& key)
{
    JsonMember* const found = object.find(key);
    return found == nullptr ? nullptr : &found->value;
}

/// What a left-over of this kind looks like while nothing is written.
std::string appearance(Beside beside)
{
    switch (beside) {
    case Beside::leftOver:
    case Beside::lockedLeftOver:
        return leftOverText;
    case Beside::directory:
        return "(directory)";
    case Beside::fullDevice:
        return "(link to /dev/full)";
    default:
        return "(nothing)";
    }
}

/// What is to be left by writing this text.
void foretellWriting(Outcome& outcome, const std::string& text, int mode, Beside beside)
{
    switch (beside) {
    case Beside::directory:
    case Beside::locked:
        outcome.status = exitNotOpened;
        outcome.error = "Cannot open Json file for writing, code -1\n";
        return;
    case Beside::fullDevice:
        outcome.status = exitNotWritten;
        outcome.error = "Cannot write Json file, code 1\n";
        return;
    case Beside::lockedLeftOver:
        outcome.status = exitNotWritten;
        outcome.error = "Cannot write Json file, code -3\n";
        outcome.temporary = text;
        return;
    default:
        outcome.status = mode;
        outcome.info = "Config file successfully updated to " + nameOr("", mode) + " mode\n";
        outcome.file = text;
        outcome.temporary = appearance(Beside::nothing);
    }
}

Outcome foretold(const std::string& text, const Choice& choice)
{
    constexpr std::size_t sizeLimit = 10'000;
    Outcome outcome;
    outcome.file = text;
    outcome.temporary = appearance(choice.beside);
    if (text.size() > sizeLimit) {
        outcome.status = exitUnreadable;
        outcome.error = "Cannot read Json config file '" + path + "'\n";
        return outcome;
    }
    JsonObject root;
    std::uint64_t position = 0;
    const JsonCode code = JsonParser::parse(root, trimmed(text), position);
    if (code != JsonCode::ok) {
        outcome.status = exitSyntaxError;
        outcome.error = "Cannot decode Json at position " + std::to_string(position) + ", code " +
                        std::to_string(static_cast<int>(code)) + "\n";
        return outcome;
    }
    JsonValue* const app = memberIn(root, "App");
    JsonValue* const flag = app != nullptr && app->type() == JsonType::object
                                ? memberIn(app->object(), "isEncoder")
                                : nullptr;
    if (flag == nullptr) {
        outcome.status = exitFlagMissing;
        outcome.error = "App/isEncoder parameter not found in Json text\n";
        return outcome;
    }
    if (flag->type() != JsonType::boolean) {
        outcome.status = exitFlagNotBoolean;
        outcome.error = "App/isEncoder parameter is not a boolean\n";
        return outcome;
    }
    const int configured = flag->boolean() ? 1 : 0;
    const int decision = decided(choice.sources, configured);
    outcome.report = reportOf(choice.sources, configured, decision);
    if (choice.query) {
        outcome.status = exitQueried;
    } else if (decision < 0) {
        outcome.status = exitNothingDecides;
        outcome.error = "No hardware or user setting known.\n";
    } else if (decision == configured) {
        outcome.status = decision;
        outcome.info = "Config file update to " + nameOr("", decision) + " mode not needed.\n";
    } else {
        flag->setBoolean(decision == 1);
        foretellWriting(outcome, JsonWriter::writeObject(root, 2), decision, choice.beside);
    }
    return outcome;
}

void arrange(const std::string& text, Beside beside)
{
    chmod(folder.c_str(), 0755);
    emptyFolder(folder);
    writeFile(path, text);
    switch (beside) {
    case Beside::leftOver:
        writeFile(temporary, leftOverText);
        break;
    case Beside::directory:
        fs::create_directory(temporary);
        break;
    case Beside::fullDevice:
        fs::create_symlink("/dev/full", temporary);
        break;
    case Beside::locked:
        chmod(folder.c_str(), 0555);
        break;
    case Beside::lockedLeftOver:
        writeFile(temporary, leftOverText);
        chmod(folder.c_str(), 0555);
        break;
    default:
        break;
    }
}

std::string lookOf(const std::string& name)
{
    const fs::file_status status = fs::symlink_status(name);
    switch (status.type()) {
    case fs::file_type::not_found:
        return "(nothing)";
    case fs::file_type::directory:
        return "(directory)";
    case fs::file_type::symlink:
        return "(link to " + fs::read_symlink(name).string() + ")";
    default:
        return readFile(name);
    }
}

std::vector<std::string> namesToBe(const Outcome& outcome)
{
    if (outcome.temporary == appearance(Beside::nothing)) {
        return {"config.json"};
    }
    return {"config.json", "config.json.filsec"};
}

}  // namespace

std::string tryUpdate(const std::string& bytes)
{
    if (bytes.size() < 2) {
        return "";
    }
    const Choice choice =
        choiceOf(static_cast<unsigned char>(bytes[0]), static_cast<unsigned char>(bytes[1]));
    const std::string text = bytes.substr(2);
    const Outcome expected = foretold(text, choice);
    arrange(text, choice.beside);

    std::ostringstream error;
    std::ostringstream info;
    std::ostringstream report;
    Outcome outcome;
    outcome.status =
        updateConfig(path, choice.sources, choice.query, OutputStreams{error, info, report});
    outcome.error = error.str();
    outcome.info = info.str();
    outcome.report = report.str();
    outcome.file = lookOf(path);
    outcome.temporary = lookOf(temporary);

    if (outcome == expected && namesIn(folder) == namesToBe(expected)) {
        return "";
    }
    const auto shown = [](const Outcome& what) {
        return std::to_string(what.status) + "\n" + what.error + what.info + what.report +
               "file: " + what.file.substr(0, 1000) +
               "\ntemporary file: " + what.temporary.substr(0, 1000) + "\n";
    };
    return "the update ended with " + shown(outcome) + "instead of " + shown(expected);
}
