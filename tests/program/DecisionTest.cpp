// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"
#include "tests/program/ExpectedOutcome.h"

// Every combination of what decides, run for real: the parameter, the marker files, the switch and
// the mode that the file records.
namespace {

using Markers = std::set<std::string>;
using Combination = std::tuple<std::string, Markers, Switch, bool>;

std::vector<std::string> parameters()
{
    std::vector<std::string> names = {""};
    for (const expected::Parameter& parameter : expected::parameters) {
        names.push_back(parameter.name);
    }
    return names;
}

std::vector<Markers> subsetsOfMarkers()
{
    std::vector<Markers> subsets = {{}};
    for (const expected::MarkerFile& file : expected::markerFiles) {
        const std::vector<Markers> without = subsets;
        for (Markers with : without) {
            with.insert(file.name);
            subsets.push_back(with);
        }
    }
    return subsets;
}

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
    const auto& [parameter, markers, hardware, isEncoder] = info.param;
    std::string name = parameter.empty() ? "NoParameter" : parameter.substr(1);
    for (const std::string& marker : markers) {
        name += "_" + marker;
    }
    return name + (markers.empty() ? "_NoMarker_" : "_") + switchName(hardware) +
           (isEncoder ? "_FileEncoder" : "_FileDecoder");
}

class Decision : public testing::TestWithParam<Combination> {};

TEST_P(Decision, IsMadeReportedLoggedAndWritten)
{
    const auto& [parameter, markers, hardware, isEncoder] = GetParam();
    expected::Sources sources{.arguments = {configPath},
                              .markers = markers,
                              .hardware = hardware,
                              .configuration = configurationRecording(isEncoder)};
    if (!parameter.empty()) {
        sources.arguments.push_back(parameter);
    }
    Appliance appliance;
    appliance.setSwitch(hardware);
    for (const std::string& marker : markers) {
        appliance.setMarker(marker);
    }
    writeFile(configPath, sources.configuration.text);

    expectRun(appliance, sources);
}

INSTANTIATE_TEST_SUITE_P(, Decision,
                         testing::Combine(testing::ValuesIn(parameters()),
                                          testing::ValuesIn(subsetsOfMarkers()),
                                          testing::Values(Switch::low, Switch::high,
                                                          Switch::notThere, Switch::unreadable),
                                          testing::Bool()),
                         rowName);

}  // namespace
