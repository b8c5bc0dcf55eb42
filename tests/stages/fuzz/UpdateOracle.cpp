// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "app/ConfigUpdate.h"
#include "json/JsonParser.h"
#include "json/JsonPath.h"
#include "json/JsonWriter.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/stages/fuzz/Oracles.h"

namespace fs = std::filesystem;

namespace {

const std::string directory = "/appliance";
const std::string path = directory + "/config.json";
const std::string temporary = path + ".filsec";

// What has the temporary name, as a tree of files shows it.
const std::string nothing;
const std::string leftoverFile = "file: left over";
const std::string subdirectory = "directory";
const std::string fullDevice = "link to /dev/full";  // takes no byte

/// What an update meets that writes.
struct Obstacle {
    std::string leftover;
    bool isLocked;  ///< the directory, so that no name can be made or replaced
    std::optional<expected::Failure> failure;
};

const std::vector<Obstacle>& obstacles()
{
    static const std::vector<Obstacle> rows = {
        {nothing, false, {}},
        {leftoverFile, false, {}},
        {subdirectory, false, expected::notOpened()},
        {fullDevice, false, expected::notWritten(1)},
        {nothing, true, expected::notOpened()},
        {leftoverFile, true, expected::notWritten(-3)},
    };
    return rows;
}

struct Choice {
    expected::Deciders deciders;
    bool query;
    const Obstacle& obstacle;
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
            obstacles()[second / 2 % obstacles().size()]};
}

/// All that an update leaves.
struct Outcome {
    int status = -1;
    std::string error;
    std::string info;
    std::string report;
    Tree files;

    bool operator==(const Outcome&) const = default;
};

std::string trimmed(const std::string& text)
{
    const auto stays = [](char byte) { return static_cast<unsigned char>(byte) > 32; };
    const auto begin = std::find_if(text.begin(), text.end(), stays);
    const auto end = std::find_if(text.rbegin(), text.rend(), stays).base();
    return begin < end ? std::string(begin, end) : "";
}

/// The file for the reference. What the text means is left to json/, which has oracles of its own.
expected::Configuration configurationOf(const std::string& text)
{
    constexpr std::size_t sizeLimit = 10'000;
    static constexpr std::array keys = {"App", "isEncoder"};
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
    JsonValue* const flag = findPath(root, keys);
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
    const Obstacle& obstacle = choice.obstacle;
    const expected::Update update =
        expected::update(choice.deciders, choice.query, configuration, obstacle.failure);
    Outcome outcome{update.status,
                    joined(update.error),
                    joined(update.info),
                    joined(update.report),
                    {{directory, "directory"}, {path, "file: " + update.configuration}}};
    std::string left = obstacle.leftover;
    if (update.writes && obstacle.isLocked && left == leftoverFile) {
        left = "file: " + configuration.rewritten;  // written, but not renamed
    }
    if (left != nothing && (!update.writes || obstacle.failure)) {
        outcome.files[temporary] = left;
    }
    return outcome;
}

void arrange(const std::string& text, const Obstacle& obstacle)
{
    chmod(directory.c_str(), 0755);
    emptyDirectory(directory);
    writeFile(path, text);
    if (obstacle.leftover == leftoverFile) {
        writeFile(temporary, "left over");
    } else if (obstacle.leftover == subdirectory) {
        fs::create_directory(temporary);
    } else if (obstacle.leftover == fullDevice) {
        fs::create_symlink("/dev/full", temporary);
    }
    if (obstacle.isLocked) {
        chmod(directory.c_str(), 0555);
    }
}

std::string shown(const Outcome& outcome)
{
    std::string text =
        std::to_string(outcome.status) + "\n" + outcome.error + outcome.info + outcome.report;
    for (const auto& [name, content] : outcome.files) {
        text += name + ": " + content.substr(0, 1000) + "\n";
    }
    return text;
}

}  // namespace

std::vector<std::string> updateChoices()
{
    const std::size_t firsts =
        expected::parameters.size() * (expected::markerFiles.size() + 1) * switchModes;
    std::vector<std::string> choices;
    for (std::size_t first = 0; first < firsts; ++first) {
        for (std::size_t second = 0; second < 2 * obstacles().size(); ++second) {
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
    arrange(text, choice.obstacle);

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
    addTo(outcome.files, directory);
    return outcome == expectedOutcome
               ? ""
               : "the update ended with " + shown(outcome) + "instead of " + shown(expectedOutcome);
}
