// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"

/// The path of the configuration file in these tests.
inline const std::string configPath = std::string(Appliance::directory) + "/config.json";

/// A configuration file as a person would write it. The flag is "true" or "false".
inline std::string handwritten(const std::string& flag)
{
    return "{ \"Net\": [ \"eth0\", 1500 ],\n"
           "  \"App\": { \"isEncoder\": " +
           flag + ", \"Name\": \"rack 7\" } }\n";
}

/// The same configuration file as the program writes it.
inline std::string rewritten(const std::string& flag)
{
    return "{\n"
           "    \"App\": {\n"
           "      \"Name\": \"rack 7\",\n"
           "      \"isEncoder\": " +
           flag +
           "\n"
           "    },\n"
           "    \"Net\": [\n"
           "      \"eth0\",\n"
           "      1500\n"
           "    ]\n"
           "  }";
}

/// The handwritten one, for the reference.
inline expected::Configuration configurationRecording(bool isEncoder)
{
    return {.text = handwritten(isEncoder ? "true" : "false"),
            .mode = isEncoder ? 1 : 0,
            .rewritten = rewritten(isEncoder ? "false" : "true")};
}
