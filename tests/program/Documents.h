// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "tests/appliance/Appliance.h"

/// Where the tests of this folder put the configuration file.
inline const std::string configPath = std::string(Appliance::folder) + "/config.json";

/// A configuration as a person would have written it. The flag is "true" or "false".
inline std::string handwritten(const std::string& flag)
{
    return "{ \"Net\": [ \"eth0\", 1500 ],\n"
           "  \"App\": { \"isEncoder\": " +
           flag + ", \"Name\": \"rack 7\" } }\n";
}

/// The same configuration as the program writes it.
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
