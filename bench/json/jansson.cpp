// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <jansson.h>

#include <cstdlib>

#include "bench/json/Job.h"

std::string jobOfJansson(const std::string& document)
{
    json_t* const root = json_loadb(document.data(), document.size(), 0, nullptr);
    if (root == nullptr) {
        return {};
    }
    json_t* const app = json_object_get(root, "App");
    const bool flag = json_is_true(json_object_get(app, "isEncoder"));
    json_object_set_new(app, "isEncoder", json_boolean(!flag));
    char* const bytes = json_dumps(root, JSON_INDENT(2));
    std::string text = bytes;
    std::free(bytes);
    json_decref(root);
    return text;
}
