// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>
#include <vector>

#include "app/ConfigUpdate.h"
#include "json/JsonParser.h"
#include "json/JsonWriter.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/stages/fuzz/Oracles.h"

namespace fs = std::filesystem;

namespace {

const std::string directory = "/appliance";
const std::string path = directory + "/config.json";
const std::string temporary = path + ".filsec";
const std::string leftoverText = "left over";

/// What has the temporary name, and whether the directory is writable.
enum class Leftover : unsigned {
    none,
    file,
    subdirectory,
    fullDevice,            ///< takes no byte
    lockedDirectory,       ///< nothing, and no file can be made
    fileInLockedDirectory  ///< it can be written, but not renamed
};
constexpr unsigned leftovers = 6;

struct Choice {
    expected::Deciders deciders;
    bool query;
    Leftover leftover;
};

constexpr unsigned switchModes = 3;

Choice choiceOf(unsigned char first, unsigned char second)
{
    const std::size_t parameters = expected::parameters.size();
    const std::size_t markers = expected::markerFiles.size() + 1;
    const std::size_t marker = first / parameters % markers;
    return {{.parameter = expected::parameters[first % parameters].value,
             .markerFile = marker == 0 ? -1 : expected::markerFiles[marker - 1].mode,
             .hardware = static_cast<int>(first / parameters / markers % switchModes) - 1},
            second % 2 == 1,
            static_cast<Leftover>(second / 2 % leftovers)};
}

/// All that an update leaves.
struct Outcome {
    int status = -1;
    std::string error;
    std::string info;
    std::string report;
    std::string file;       ///< the bytes of the configuration file
    std::string temporary;  ///< those of the temporary file, or what else has that name

    bool operator==(const Outcome&) const = default;
};

std::string trimmed(const std::string& text)
{
    const auto stays = [](char byte) { return static_cast<unsigned char>(byte) > 32; };
    const auto begin = std::find_if(text.begin(), text.end(), stays);
    const auto end = std::find_if(text.rbegin(), text.rend(), stays).base();
    return begin < end ? std::string(begin, end) : "";
}

JsonValue* memberIn(JsonObject& object, const std::string& key)
{
    JsonMember* const found = object.find(key);
    return found == nullptr ? nullptr : &found->value;
}

/// The file for the reference. What the text means is left to json/, which has oracles of its own.
expected::Configuration configurationOf(const std::string& text)
{
    constexpr std::size_t sizeLimit = 10'000;
    expected::Configuration configuration{.text = text};
    if (text.size() > sizeLimit) {
        configuration.refusal = expected::unreadable(path);
        return configuration;
    }
    JsonObject root;
    std::uint64_t position = 0;
    const JsonCode code = JsonParser::parse(root, trimmed(text), position);
    if (code != JsonCode::ok) {
        configuration.refusal = expected::syntaxError(position, static_cast<int>(code));
        return configuration;
    }
    JsonValue* const app = memberIn(root, "App");
    JsonValue* const flag = app != nullptr && app->type() == JsonType::object
                                ? memberIn(app->object(), "isEncoder")
                                : nullptr;
    if (flag == nullptr) {
        configuration.refusal = expected::flagMissing();
    } else if (flag->type() != JsonType::boolean) {
        configuration.refusal = expected::flagNotBoolean();
    } else {
        configuration.mode = flag->boolean() ? 1 : 0;
        flag->setBoolean(!flag->boolean());
        configuration.rewritten = JsonWriter::writeObject(root, 2);
    }
    return configuration;
}

std::optional<expected::Failure> failureOf(Leftover leftover)
{
    switch (leftover) {
    case Leftover::subdirectory:
    case Leftover::lockedDirectory:
        return expected::notOpened();
    case Leftover::fullDevice:
        return expected::notWritten(1);
    case Leftover::fileInLockedDirectory:
        return expected::notWritten(-3);
    default:
        return {};
    }
}

/// The leftover while nothing is written.
std::string appearanceOf(Leftover leftover)
{
    switch (leftover) {
    case Leftover::file:
    case Leftover::fileInLockedDirectory:
        return leftoverText;
    case Leftover::subdirectory:
        return "(directory)";
    case Leftover::fullDevice:
        return "(link to /dev/full)";
    default:
        return "(nothing)";
    }
}

std::string joined(const expected::Lines& lines)
{
    std::string text;
    for (const std::string& line : lines) {
        text += line;
    }
    return text;
}

Outcome expectedOutcome(const std::string& text, const Choice& choice)
{
    const expected::Configuration configuration = configurationOf(text);
    const std::optional<expected::Failure> failure = failureOf(choice.leftover);
    const expected::Update update =
        expected::update(choice.deciders, choice.query, configuration, failure);
    Outcome outcome{update.status,         joined(update.error), joined(update.info),
                    joined(update.report), update.configuration, appearanceOf(choice.leftover)};
    if (update.writes && !failure) {
        outcome.temporary = appearanceOf(Leftover::none);
    } else if (update.writes && choice.leftover == Leftover::fileInLockedDirectory) {
        outcome.temporary = configuration.rewritten;
    }
    return outcome;
}

void arrange(const std::string& text, Leftover leftover)
{
    chmod(directory.c_str(), 0755);
    emptyDirectory(directory);
    writeFile(path, text);
    switch (leftover) {
    case Leftover::file:
        writeFile(temporary, leftoverText);
        break;
    case Leftover::subdirectory:
        fs::create_directory(temporary);
        break;
    case Leftover::fullDevice:
        fs::create_symlink("/dev/full", temporary);
        break;
    case Leftover::lockedDirectory:
        chmod(directory.c_str(), 0555);
        break;
    case Leftover::fileInLockedDirectory:
        writeFile(temporary, leftoverText);
        chmod(directory.c_str(), 0555);
        break;
    default:
        break;
    }
}

std::string lookAt(const std::string& name)
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

std::vector<std::string> expectedNames(const Outcome& outcome)
{
    if (outcome.temporary == appearanceOf(Leftover::none)) {
        return {"config.json"};
    }
    return {"config.json", "config.json.filsec"};
}

}  // namespace

std::vector<std::string> updateChoices()
{
    const std::size_t firsts =
        expected::parameters.size() * (expected::markerFiles.size() + 1) * switchModes;
    std::vector<std::string> choices;
    for (std::size_t first = 0; first < firsts; ++first) {
        for (std::size_t second = 0; second < 2 * std::size_t{leftovers}; ++second) {
            choices.push_back({static_cast<char>(first), static_cast<char>(second)});
        }
    }
    return choices;
}

std::string checkUpdate(const std::string& bytes)
{
    if (bytes.size() < 2) {
        return "";
    }
    const Choice choice =
        choiceOf(static_cast<unsigned char>(bytes[0]), static_cast<unsigned char>(bytes[1]));
    const std::string text = bytes.substr(2);
    const Outcome expectedOutcome = ::expectedOutcome(text, choice);
    arrange(text, choice.leftover);

    std::ostringstream error;
    std::ostringstream info;
    std::ostringstream report;
    const ModeSources sources{choice.deciders.parameter, choice.deciders.markerFile,
                              choice.deciders.hardware};
    Outcome outcome;
    outcome.status = updateConfig(path, sources, choice.query, OutputStreams{error, info, report});
    outcome.error = error.str();
    outcome.info = info.str();
    outcome.report = report.str();
    outcome.file = lookAt(path);
    outcome.temporary = lookAt(temporary);

    if (outcome == expectedOutcome && namesIn(directory) == expectedNames(expectedOutcome)) {
        return "";
    }
    const auto shown = [](const Outcome& what) {
        return std::to_string(what.status) + "\n" + what.error + what.info + what.report +
               "file: " + what.file.substr(0, 1000) +
               "\ntemporary file: " + what.temporary.substr(0, 1000) + "\n";
    };
    return "the update ended with " + shown(outcome) + "instead of " + shown(expectedOutcome);
}
