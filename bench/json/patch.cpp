// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <string_view>

#include "bench/json/Job.h"

std::string jobOfBytePatch(const std::string& document)
{
    constexpr std::string_view name = "\"isEncoder\"";
    const std::size_t key = document.find(name);
    if (key == std::string::npos) {
        return {};
    }
    const std::size_t flag = document.find_first_of("tf", key + name.size());
    const bool isEncoder = document[flag] == 't';
    std::string text = document;
    text.replace(flag, isEncoder ? 4 : 5, isEncoder ? "false" : "true");
    return text;
}
