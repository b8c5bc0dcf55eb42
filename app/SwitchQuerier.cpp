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
    // The logs keep the address of the name, so it must outlive them.
    const std::string name = programName(argv[0]);
    if (argc != 2 && argc != 3) {
        printUsage(name, std::cout);
        return exitUsage;
    }
    ErrorLog errorLog(name.c_str(), &std::cerr, levelOnly);
    InfoLog infoLog(name.c_str(), &std::cout, textOnly);

    const bool hasOption = argc == 3;
    Option option;
    if (hasOption) {
        const std::optional<Option> parsed = parseOption(argv[2]);
        if (!parsed) {
            // The text leads up to a line number, but none follows; that is intended.
            errorLog << "Invalid enc/dec command line parameter at line " << std::endl;
            return exitBadParameter;
        }
        option = *parsed;
    }

    // The order is fixed: the marker files, the switch, and only then the first parameter.
    const Mode overrideFile = probeMarkerFiles();
    const Mode hardware = readHardwareSwitch(errorLog);

    const std::string first = argv[1];
    if (first == queryParameter) {
        if (hasOption) {
            errorLog << "No 2nd parameter allowed with -query" << std::endl;
            return exitParameterAfterQuery;
        }
        printStatusReport(hardware, overrideFile, parameterNone, modeNotRead, modeNotRead,
                          std::cout);
        return exitQueried;
    }
    const ModeSources sources{option.parameter, overrideFile, hardware};
    return updateConfig(first, sources, option.query, OutputStreams{errorLog, infoLog, std::cerr});
}
