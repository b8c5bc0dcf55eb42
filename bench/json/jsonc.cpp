// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <json-c/json.h>

#include "bench/json/Job.h"

std::string jobOfJsonC(const std::string& document)
{
    json_object* const root = json_tokener_parse(document.c_str());
    if (root == nullptr) {
        return {};
    }
    json_object* const flag =
        json_object_object_get(json_object_object_get(root, "App"), "isEncoder");
    json_object_set_boolean(flag, json_object_get_boolean(flag) == 0);
    constexpr int layout = JSON_C_TO_STRING_PRETTY | JSON_C_TO_STRING_SPACED;
    std::string text = json_object_to_json_string_ext(root, layout);
    json_object_put(root);
    return text;
}
