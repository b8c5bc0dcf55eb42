// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/StatusReport.h"

#include <string>

#include "app/CommandLine.h"

namespace {

std::string nameOr(const char* nameOfNone, Mode mode)
{
    return mode >= 0 ? modeName(mode) : nameOfNone;
}

std::string parameterText(std::int32_t parameter, Mode configValue)
{
    if (parameter != parameterFlip) {
        return nameOr("None", parameter);
    }
    if (configValue < 0) {
        return "Flipped";
    }
    return std::string("Flipped to ") + modeName(otherMode(configValue));
}

// One insertion a line: on standard error, which has no buffer, each insertion is a write of its
// own.
void printLine(std::ostream& out, const char* label, const std::string& text)
{
    out << label + text + '\n' << std::flush;
}

}  // namespace

std::ostream& printStatusReport(Mode hardware, Mode overrideFile, std::int32_t parameter,
                                Mode configValue, Mode newValue, std::ostream& out)
{
    printLine(out, "Hardware switch: ", nameOr("Could not be determined", hardware));
    if (configValue != modeNotRead) {
        printLine(out, "Config file    : ", nameOr("Unknown?", configValue));
    }
    printLine(out, "Override parm  : ", parameterText(parameter, configValue));
    printLine(out, "Override file  : ", nameOr("None", overrideFile));
    if (newValue >= noMode) {
        printLine(out, "New setting    : ", nameOr("Not specified", newValue));
    }
    return out;
}
