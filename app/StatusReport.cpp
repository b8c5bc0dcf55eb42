// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/StatusReport.h"

#include <string>

namespace {

std::string modeNameOr(Mode mode, const char* fallback)
{
    return mode >= 0 ? modeName(mode) : fallback;
}

std::string parameterText(std::int32_t parameter, Mode configValue)
{
    if (parameter != parameterFlip) {
        return modeNameOr(parameter, "None");
    }
    if (configValue < 0) {
        return "Flipped";
    }
    return std::string("Flipped to ") + modeName(otherMode(configValue));
}

// One insertion per line: standard error is unbuffered, so each insertion is a write(2).
void printLine(std::ostream& out, const char* label, const std::string& text)
{
    out << label + text + '\n' << std::flush;
}

}  // namespace

std::ostream& printStatusReport(Mode hardware, Mode overrideFile, std::int32_t parameter,
                                Mode configValue, Mode newValue, std::ostream& out)
{
    printLine(out, "Hardware switch: ", modeNameOr(hardware, "Could not be determined"));
    if (configValue != modeNotRead) {
        printLine(out, "Config file    : ", modeNameOr(configValue, "Unknown?"));
    }
    printLine(out, "Override parm  : ", parameterText(parameter, configValue));
    printLine(out, "Override file  : ", modeNameOr(overrideFile, "None"));
    if (newValue >= noMode) {
        printLine(out, "New setting    : ", modeNameOr(newValue, "Not specified"));
    }
    return out;
}
