// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/CommandLine.h"

namespace {

// Fixed text of the banner, unrelated to VERSION, and the contact address that the build sets.
constexpr char versionTag[] = "V4.14 2020-01-16 " SWITCH_QUERIER_CONTACT;

constexpr char usageBody[] =
    R"( <Json-filename|'-query'> ['-enc'|'-dec'|'-flip'|'-query']
The program reads the status of the Tarvo-encoder/decoder configuration switch
and - if necessary - updates the specified Json application config file accordingly.
If -query is specified instead of a filename the program only indicates the current
settings, not including the setting of the Json config file.
The following additional parameters are supported:
  -enc, -dec: Overrides the setting of the hardware switch and forces encoder or
              decoder mode.
  -flip     : Overrides the setting of the hardware switch and inverts the setting
              found in the Json config file.
  -query    : Displays configurations and exits.
There is a secondary override mode:
  If the file /config/DECODER exists it will overwrite the hardware setting and
  cause decoder mode to be assumed.
  If the file /config/DECODER does not exist but file /config/ENCODER does, it will
  cause encoder mode to be assumed.
The hardware setting comes into effect only if neither of the two files exist.
Note that an explicit -enc, -dec or -flip command parameter overrides the /config
file settings.
Program return values: 0=decoder, 1=encoder, >0 = error line.
)";

}  // namespace

std::string programName(const char* path)
{
    if (path == nullptr) {
        return {};
    }
    const std::string text = path;
    const std::size_t separator = text.find_last_of("/\\");
    return separator == std::string::npos ? text : text.substr(separator + 1);
}

std::optional<Option> parseOption(const std::string& text)
{
    if (text == "-enc") {
        return Option{.parameter = encoder, .query = false};
    }
    if (text == "-dec") {
        return Option{.parameter = decoder, .query = false};
    }
    if (text == "-flip") {
        return Option{.parameter = parameterFlip, .query = false};
    }
    if (text == queryParameter) {
        return Option{.parameter = parameterNone, .query = true};
    }
    return std::nullopt;
}

void printUsage(const std::string& programName, std::ostream& out)
{
    out << "**** " << programName << " - Tarvo enc/dec switch querier, " << versionTag << '\n'
        << "Usage: " << programName << usageBody << std::flush;
}
