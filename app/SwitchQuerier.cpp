// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/SwitchQuerier.h"

#include <iostream>
#include <string>

#include "app/CommandLine.h"
#include "app/ConfigUpdate.h"
#include "app/ExitStatus.h"
#include "app/HardwareSwitch.h"
#include "app/MarkerFiles.h"
#include "app/StatusReport.h"
#include "log/LogStream.h"

int runSwitchQuerier(int argc, const char* const* argv)
{
    // The logs keep the name's address, so it is made before them and lives longer.
    const std::string name = programName(argv[0]);
    if (argc != 2 && argc != 3) {
        printUsage(name, std::cout);
        return exitUsage;
    }
    ErrorLog errorLog(name.c_str(), &std::cerr, 1);
    InfoLog infoLog(name.c_str(), &std::cout, 0);

    const bool hasSecond = argc == 3;
    SecondParameter second;
    if (hasSecond) {
        const std::optional<SecondParameter> read = readSecondParameter(argv[2]);
        if (!read) {
            // No number follows, although the text leads up to one: that is intended.
            errorLog << "Invalid enc/dec command line parameter at line " << std::endl;
            return exitBadParameter;
        }
        second = *read;
    }

    // In this order: a marker file is probed before the switch, and both before the first
    // parameter is looked at.
    const Mode overrideFile = probeMarkerFiles();
    const Mode hardware = readHardwareSwitch(errorLog);

    const std::string first = argv[1];
    if (first == queryParameter) {
        if (hasSecond) {
            errorLog << "No 2nd parameter allowed with -query" << std::endl;
            return exitParameterBehindQuery;
        }
        printStatusReport(hardware, overrideFile, parameterNone, modeNotRead, modeNotRead,
                          std::cout);
        return exitQueried;
    }
    const ModeSources sources{second.parameter, overrideFile, hardware};
    return updateConfig(first, sources, second.query, RunOutput{errorLog, infoLog, std::cerr});
}
