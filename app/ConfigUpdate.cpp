// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/ConfigUpdate.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "app/ExitStatus.h"
#include "app/StatusReport.h"
#include "fileio/ReplacingFile.h"
#include "fileio/TextFile.h"
#include "json/JsonParser.h"
#include "json/JsonPath.h"
#include "json/JsonWriter.h"

namespace {

constexpr std::int64_t sizeLimitBytes = 10'000;
constexpr std::array<const char*, 2> flagPath = {"App", "isEncoder"};

// One level would do; the application's files start at two.
constexpr std::uint64_t indentationLevel = 2;

/// Reads and parses the file. Returns 0, or the ExitStatus of the failure.
int readConfig(const std::string& path, JsonObject& root, std::ostream& errorLog)
{
    std::string text;
    if (!readTextFile(path, text, sizeLimitBytes)) {
        errorLog << "Cannot read Json config file '" << path << "'" << std::endl;
        return exitUnreadable;
    }
    trimText(text);
    std::uint64_t position = 0;
    const JsonCode code = JsonParser::parse(root, text, position);
    if (code != JsonCode::ok) {
        errorLog << "Cannot decode Json at position " << position << ", code "
                 << static_cast<std::int32_t>(code) << std::endl;
        return exitSyntaxError;
    }
    return 0;
}

/// Replaces the file by the serialised tree. Returns 0, or the ExitStatus of the failure.
int writeConfig(const std::string& path, const JsonObject& root, std::ostream& errorLog)
{
    const std::string text = JsonWriter::writeObject(root, indentationLevel);
    ReplacingFile file;
    if (const std::int32_t code = file.open(path); code != 0) {
        errorLog << "Cannot open Json file for writing, code " << code << std::endl;
        return exitNotOpened;
    }
    file << text;
    if (const std::int32_t code = file.finish(); code != 0) {
        errorLog << "Cannot write Json file, code " << code << std::endl;
        return exitNotWritten;
    }
    return 0;
}

}  // namespace

void trimText(std::string& text)
{
    const auto isKept = [](char byte) { return static_cast<unsigned char>(byte) > 32; };
    text.erase(std::find_if(text.rbegin(), text.rend(), isKept).base(), text.end());
    text.erase(text.begin(), std::find_if(text.begin(), text.end(), isKept));
}

int updateConfig(const std::string& path, const ModeSources& sources, bool query,
                 const OutputStreams& output)
{
    JsonObject root;
    if (const int status = readConfig(path, root, output.error); status != 0) {
        return status;
    }
    JsonValue* const flag = findPath(root, flagPath);
    if (flag == nullptr) {
        output.error << "App/isEncoder parameter not found in Json text" << std::endl;
        return exitFlagMissing;
    }
    if (flag->type() != JsonType::boolean) {
        output.error << "App/isEncoder parameter is not a boolean" << std::endl;
        return exitFlagNotBoolean;
    }
    const Mode configValue = flag->boolean() ? encoder : decoder;
    const Mode newValue = resolveMode(sources, configValue);
    printStatusReport(sources.hardware, sources.overrideFile, sources.parameter, configValue,
                      newValue, output.report);
    if (query) {
        return exitQueried;
    }
    if (newValue == noMode) {
        output.error << "No hardware or user setting known." << std::endl;
        return exitNothingDecides;
    }
    if (newValue == configValue) {
        output.info << "Config file update to " << modeName(newValue) << " mode not needed."
                    << std::endl;
        return newValue;
    }
    flag->setBoolean(newValue == encoder);
    if (const int status = writeConfig(path, root, output.error); status != 0) {
        return status;
    }
    output.info << "Config file successfully updated to " << modeName(newValue) << " mode"
                << std::endl;
    return newValue;
}
