// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/ConfigUpdate.h"
#include "app/ExitStatus.h"
#include "app/StatusReport.h"
#include "bench/json/Job.h"
#include "fileio/ReplacingFile.h"
#include "fileio/TextFile.h"

// Takes the place of the tool's update of the configuration, so that the rest of the run is the
// tool's and only the way from one text to the other is the library's.
int updateConfig(const std::string& path, const ModeSources& sources, bool /*query*/,
                 const OutputStreams& output)
{
    std::string text;
    if (!readTextFile(path, text, 10'000)) {
        return exitUnreadable;
    }
    while (text.ends_with('\n')) {
        text.pop_back();
    }
    constexpr Mode configValue = encoder;  // what all the documents say
    const Mode newValue = resolveMode(sources, configValue);
    printStatusReport(sources.hardware, sources.overrideFile, sources.parameter, configValue,
                      newValue, output.report);
    const std::string written = BENCH_JOB(text);
    if (written.empty()) {
        return exitSyntaxError;
    }
    ReplacingFile file;
    if (file.open(path) != 0) {
        return exitNotOpened;
    }
    file << written;
    if (file.finish() != 0) {
        return exitNotWritten;
    }
    output.info << "Config file successfully updated to " << modeName(newValue) << " mode"
                << std::endl;
    return newValue;
}
