// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/appliance/ExpectedRun.h"

#include <syslog.h>

#include <algorithm>

namespace expected {
namespace {

constexpr char usageAfterTheName[] =
    " <Json-filename|'-query'> ['-enc'|'-dec'|'-flip'|'-query']\n"
    "The program reads the status of the Tarvo-encoder/decoder configuration switch\n"
    "and - if necessary - updates the specified Json application config file accordingly.\n"
    "If -query is specified instead of a filename the program only indicates the current\n"
    "settings, not including the setting of the Json config file.\n"
    "The following additional parameters are supported:\n"
    "  -enc, -dec: Overrides the setting of the hardware switch and forces encoder or\n"
    "              decoder mode.\n"
    "  -flip     : Overrides the setting of the hardware switch and inverts the setting\n"
    "              found in the Json config file.\n"
    "  -query    : Displays configurations and exits.\n"
    "There is a secondary override mode:\n"
    "  If the file /config/DECODER exists it will overwrite the hardware setting and\n"
    "  cause decoder mode to be assumed.\n"
    "  If the file /config/DECODER does not exist but file /config/ENCODER does, it will\n"
    "  cause encoder mode to be assumed.\n"
    "The hardware setting comes into effect only if neither of the two files exist.\n"
    "Note that an explicit -enc, -dec or -flip command parameter overrides the /config\n"
    "file settings.\n"
    "Program return values: 0=decoder, 1=encoder, >0 = error line.\n";

struct SwitchState {
    int mode;
    std::string error;
};

SwitchState stateOf(Switch hardware)
{
    switch (hardware) {
    case Switch::low:
        return {1, ""};
    case Switch::high:
        return {0, ""};
    case Switch::notThere:
        return {-1, cannotInitSwitch()};
    case Switch::unreadable:
        return {-1, cannotReadSwitch()};
    }
    return {};
}

int modeOfMarkers(const std::set<std::string>& markers)
{
    for (const MarkerFile& file : markerFiles) {
        if (markers.contains(file.name)) {
            return file.mode;
        }
    }
    return -1;
}

std::string overrideText(int parameter, std::optional<int> recorded)
{
    if (parameter != 2) {
        return modeName(parameter, "None");
    }
    const int old = recorded.value_or(-1);
    return old < 0 ? "Flipped" : "Flipped to " + modeName(1 - old);
}

}  // namespace

std::string modeName(int mode, const std::string& none)
{
    if (mode < 0) {
        return none;
    }
    return mode == 0 ? "Decoder" : "Encoder";
}

Failure unknownParameter()
{
    return {119, "Invalid enc/dec command line parameter at line "};
}

Failure parameterAfterQuery()
{
    return {152, "No 2nd parameter allowed with -query"};
}

Failure unreadable(const std::string& path)
{
    return {163, "Cannot read Json config file '" + path + "'"};
}

Failure syntaxError(std::uint64_t position, int code)
{
    return {174, "Cannot decode Json at position " + std::to_string(position) + ", code " +
                     std::to_string(code)};
}

Failure flagMissing()
{
    return {180, "App/isEncoder parameter not found in Json text"};
}

Failure flagNotBoolean()
{
    return {186, "App/isEncoder parameter is not a boolean"};
}

Failure nothingDecides()
{
    return {210, "No hardware or user setting known."};
}

Failure notOpened()
{
    return {226, "Cannot open Json file for writing, code -1"};
}

Failure notWritten(int code)
{
    return {236, "Cannot write Json file, code " + std::to_string(code)};
}

std::string cannotInitSwitch()
{
    return "Cannot init GPIO17";
}

std::string cannotReadSwitch()
{
    return "Cannot read GPIO17 status";
}

std::string updated(int mode)
{
    return "Config file successfully updated to " + modeName(mode) + " mode";
}

std::string notNeeded(int mode)
{
    return "Config file update to " + modeName(mode) + " mode not needed.";
}

std::string usage(const std::string& programName)
{
    return "**** " + programName +
           " - Tarvo enc/dec switch querier, V4.14 2020-01-16 " SWITCH_QUERIER_CONTACT "\n"
           "Usage: " +
           programName + usageAfterTheName;
}

Lines report(const Deciders& deciders, std::optional<int> recorded, std::optional<int> newMode)
{
    Lines lines;
    const auto add = [&](const char* label, const std::string& text) {
        lines.push_back(label + text + "\n");
    };
    add("Hardware switch: ", modeName(deciders.hardware, "Could not be determined"));
    if (recorded) {
        add("Config file    : ", modeName(*recorded, "Unknown?"));
    }
    add("Override parm  : ", overrideText(deciders.parameter, recorded));
    add("Override file  : ", modeName(deciders.markerFile, "None"));
    if (newMode) {
        add("New setting    : ", modeName(*newMode, "Not specified"));
    }
    return lines;
}

Update update(const Deciders& deciders, bool query, const Configuration& configuration,
              const std::optional<Failure>& writing)
{
    Update update{
        .status = 0, .error = {}, .info = {}, .report = {}, .configuration = configuration.text};
    const auto fail = [&](const Failure& failure) {
        update.error = {failure.message + "\n"};
        update.status = failure.status;
        return update;
    };
    if (configuration.refusal) {
        return fail(*configuration.refusal);
    }
    const int newMode = mode(deciders, configuration.mode);
    update.report = report(deciders, configuration.mode, newMode);
    if (query) {
        return update;
    }
    if (newMode < 0) {
        return fail(nothingDecides());
    }
    update.writes = newMode != configuration.mode;
    if (update.writes && writing) {
        return fail(*writing);
    }
    update.status = newMode;
    if (update.writes) {
        update.info = {updated(newMode) + "\n"};
        update.configuration = configuration.rewritten;
    } else {
        update.info = {notNeeded(newMode) + "\n"};
    }
    return update;
}

Run run(const Sources& sources)
{
    Run run;
    run.configuration = sources.configuration.text;
    const std::string identity = sources.programName.empty() ? "KWsyslog3" : sources.programName;
    const auto error = [&](const std::string& line) {
        run.err += "ERROR: " + line;
        run.log.push_back({LOG_ERR, identity, line});
    };
    const auto fail = [&](const Failure& failure) {
        error(failure.message + "\n");
        run.status = failure.status;
        return run;
    };
    const std::vector<std::string>& arguments = sources.arguments;
    if (arguments.empty() || arguments.size() > 2) {
        run.out = usage(sources.programName);
        run.status = 96;
        return run;
    }
    Parameter second{.name = "", .value = -1, .query = false};
    if (arguments.size() == 2) {
        const auto found =
            std::find_if(parameters.begin(), parameters.end(),
                         [&](const Parameter& one) { return one.name == arguments[1]; });
        if (found == parameters.end()) {
            return fail(unknownParameter());
        }
        second = *found;
    }

    const SwitchState hardware = stateOf(sources.hardware);
    if (!hardware.error.empty()) {
        error(hardware.error + "\n");
    }
    const Deciders deciders{.parameter = second.value,
                            .markerFile = modeOfMarkers(sources.markers),
                            .hardware = hardware.mode};
    if (arguments[0] == "-query") {
        if (arguments.size() == 2) {
            return fail(parameterAfterQuery());
        }
        for (const std::string& line : report(deciders)) {
            run.out += line;
        }
        run.status = 0;
        return run;
    }

    const Update outcome =
        expected::update(deciders, second.query, sources.configuration, sources.writing);
    for (const std::string& line : outcome.report) {
        run.err += line;
    }
    for (const std::string& line : outcome.error) {
        error(line);
    }
    for (const std::string& line : outcome.info) {
        run.out += line;
        run.log.push_back({LOG_INFO, identity, line});
    }
    run.configuration = outcome.configuration;
    run.writes = outcome.writes;
    run.status = outcome.status;
    return run;
}

}  // namespace expected
