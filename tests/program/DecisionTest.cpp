// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <syslog.h>

#include <array>
#include <string>
#include <tuple>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

// Every combination of what decides, run for real: the parameter, the marker files, the switch and
// the mode that the file records.
namespace {

using Combination = std::tuple<std::string, std::string, Switch, bool>;

std::string switchName(Switch state)
{
    switch (state) {
    case Switch::low:
        return "SwitchLow";
    case Switch::high:
        return "SwitchHigh";
    case Switch::notThere:
        return "NoSwitch";
    case Switch::unreadable:
        return "SwitchUnreadable";
    }
    return "";
}

std::string rowName(const testing::TestParamInfo<Combination>& info)
{
    const auto& [parameter, marker, switchState, fileIsEncoder] = info.param;
    return (parameter.empty() ? "NoParameter" : parameter.substr(1)) + "_" +
           (marker.empty() ? "NoMarker" : marker) + "_" + switchName(switchState) + "_" +
           (fileIsEncoder ? "FileEncoder" : "FileDecoder");
}

/// What the switch shows by itself: the report's word, and the error where there is one.
struct SwitchFacts {
    std::string mode;
    std::string error;
};

SwitchFacts factsOf(Switch state)
{
    switch (state) {
    case Switch::low:
        return {"Encoder", ""};
    case Switch::high:
        return {"Decoder", ""};
    case Switch::notThere:
        return {"Could not be determined", "Cannot init GPIO17\n"};
    case Switch::unreadable:
        return {"Could not be determined", "Cannot read GPIO17 status\n"};
    }
    return {};
}

std::string markerModeOf(const std::string& marker)
{
    if (marker == "DECODER" || marker == "BOTH") {
        return "Decoder";
    }
    return marker == "ENCODER" ? "Encoder" : "None";
}

/// The new mode, by the first rule that fits; "" fits anything.
std::string decided(const std::string& parameter, const std::string& markerMode,
                    const std::string& switchMode, const std::string& fileMode)
{
    struct Rule {
        std::string parameter, markerMode, switchMode, fileMode, result;
    };
    static const std::vector<Rule> rules = {
        {"-enc", "", "", "", "Encoder"},
        {"-dec", "", "", "", "Decoder"},
        {"-flip", "", "", "Encoder", "Decoder"},
        {"-flip", "", "", "Decoder", "Encoder"},
        {"", "Decoder", "", "", "Decoder"},
        {"", "Encoder", "", "", "Encoder"},
        {"", "None", "Decoder", "", "Decoder"},
        {"", "None", "Encoder", "", "Encoder"},
        {"", "None", "Could not be determined", "", "Not specified"},
    };
    for (const Rule& rule : rules) {
        if ((rule.parameter.empty() || rule.parameter == parameter) &&
            (rule.markerMode.empty() || rule.markerMode == markerMode) &&
            (rule.switchMode.empty() || rule.switchMode == switchMode) &&
            (rule.fileMode.empty() || rule.fileMode == fileMode)) {
            return rule.result;
        }
    }
    return "no rule";
}

std::string overrideText(const std::string& parameter, const std::string& fileMode)
{
    if (parameter == "-enc") {
        return "Encoder";
    }
    if (parameter == "-dec") {
        return "Decoder";
    }
    if (parameter == "-flip") {
        return fileMode == "Encoder" ? "Flipped to Decoder" : "Flipped to Encoder";
    }
    return "None";
}

class Decision : public testing::TestWithParam<Combination> {};

TEST_P(Decision, IsMadeReportedLoggedAndWritten)
{
    const auto& [parameter, marker, switchState, fileIsEncoder] = GetParam();
    Appliance appliance;
    appliance.setSwitch(switchState);
    for (const std::string name : {"DECODER", "ENCODER"}) {
        if (marker == name || marker == "BOTH") {
            appliance.setMarker(name);
        }
    }
    const std::string before = handwritten(fileIsEncoder ? "true" : "false");
    writeFile(configPath, before);

    std::vector<std::string> arguments = {configPath};
    if (!parameter.empty()) {
        arguments.push_back(parameter);
    }
    const RunResult run = appliance.run(arguments);

    const SwitchFacts facts = factsOf(switchState);
    const std::string fileMode = fileIsEncoder ? "Encoder" : "Decoder";
    const std::string markerMode = markerModeOf(marker);
    const std::string newMode = decided(parameter, markerMode, facts.mode, fileMode);

    std::string err;
    std::string out;
    std::vector<LogRecord> log;
    int status = -1;
    std::string after = before;
    if (!facts.error.empty()) {
        err += "ERROR: " + facts.error;
        log.push_back({LOG_ERR, "switch-querier", facts.error});
    }
    err += "Hardware switch: " + facts.mode + "\n" + "Config file    : " + fileMode + "\n" +
           "Override parm  : " + overrideText(parameter, fileMode) + "\n" +
           "Override file  : " + markerMode + "\n" + "New setting    : " + newMode + "\n";
    if (parameter == "-query") {
        status = 0;
    } else if (newMode == "Not specified") {
        status = 210;
        err += "ERROR: No hardware or user setting known.\n";
        log.push_back({LOG_ERR, "switch-querier", "No hardware or user setting known.\n"});
    } else {
        status = newMode == "Encoder" ? 1 : 0;
        if (newMode == fileMode) {
            out = "Config file update to " + newMode + " mode not needed.\n";
        } else {
            out = "Config file successfully updated to " + newMode + " mode\n";
            after = rewritten(newMode == "Encoder" ? "true" : "false");
        }
        log.push_back({LOG_INFO, "switch-querier", out});
    }

    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.out, out);
    EXPECT_EQ(run.err, err);
    EXPECT_EQ(run.log, log);
    EXPECT_EQ(readFile(configPath), after);
    EXPECT_EQ(namesIn(Appliance::folder), std::vector<std::string>{"config.json"});
}

INSTANTIATE_TEST_SUITE_P(, Decision,
                         testing::Combine(testing::Values("", "-enc", "-dec", "-flip", "-query"),
                                          testing::Values("", "DECODER", "ENCODER", "BOTH"),
                                          testing::Values(Switch::low, Switch::high,
                                                          Switch::notThere, Switch::unreadable),
                                          testing::Bool()),
                         rowName);

}  // namespace
