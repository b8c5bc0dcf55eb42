// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <nlohmann/json.hpp>

#include "bench/json/Job.h"

std::string jobOfNlohmann(const std::string& document)
{
    nlohmann::json root = nlohmann::json::parse(document, nullptr, false);
    if (root.is_discarded()) {
        return {};
    }
    nlohmann::json& flag = root["App"]["isEncoder"];
    flag = !flag.get<bool>();
    return root.dump(2);
}
