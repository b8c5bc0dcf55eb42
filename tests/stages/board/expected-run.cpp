// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <syslog.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

// Writes the configuration file of a case of program.cases, and what the case is expected to do, so
// that no script words a message.
namespace {

const std::string results = "/tmp/expected/";

Switch switchOf(const std::string& line)
{
    if (line.ends_with("low")) {
        return Switch::low;
    }
    return line.ends_with("high") ? Switch::high : Switch::notThere;
}

std::set<std::string> markersOf(const std::string& column)
{
    std::set<std::string> markers;
    std::istringstream names(column == "none" ? "" : column);
    for (std::string name; std::getline(names, name, ',');) {
        markers.insert(name);
    }
    return markers;
}

std::optional<expected::Failure> failureOf(const std::string& disk)
{
    if (disk == "full") {
        return expected::notWritten(1);
    }
    if (disk == "inodes" || disk == "read-only") {
        return expected::notOpened();
    }
    return {};
}

expected::Configuration configurationOf(const std::string& document, const std::string& path)
{
    if (document == "decoder" || document == "encoder") {
        return configurationRecording(document == "encoder");
    }
    if (document == "broken") {
        return {.text = R"({"App": {"isEncoder": true})", .refusal = expected::syntaxError(27, -5)};
    }
    if (document == "absent") {
        return {.text = R"({"App": {"rate": 25}})", .refusal = expected::flagMissing()};
    }
    if (document == "number") {
        return {.text = R"({"App": {"isEncoder": 1}})", .refusal = expected::flagNotBoolean()};
    }
    return {.refusal = expected::unreadable(path)};
}

}  // namespace

// usage: expected-run LINE MARKER DISK FILE PATH [ARGUMENT...]
// The first four are columns of program.cases; PATH is that of the configuration file.
int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    const expected::Configuration configuration = configurationOf(words.at(3), words.at(4));
    const expected::Run run = expected::run({.arguments = {words.begin() + 5, words.end()},
                                             .markers = markersOf(words[1]),
                                             .hardware = switchOf(words[0]),
                                             .configuration = configuration,
                                             .writing = failureOf(words[2])});
    // As the log's daemon shows records, without the facility.
    std::string log;
    for (const LogRecord& record : run.log) {
        log += (record.level == LOG_ERR ? "err " : "info ") + record.identity + ": " + record.text;
    }
    std::filesystem::create_directories(results);
    writeFile(results + "document", configuration.text);
    writeFile(results + "status", std::to_string(run.status));
    writeFile(results + "out", run.out);
    writeFile(results + "err", run.err);
    writeFile(results + "log", log);
    writeFile(results + "config", run.configuration);
    return 0;
}
