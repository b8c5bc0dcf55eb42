// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <yyjson.h>

#include <cstdlib>

#include "bench/json/Job.h"

std::string jobOfYyjson(const std::string& document)
{
    yyjson_doc* const read = yyjson_read(document.data(), document.size(), 0);
    if (read == nullptr) {
        return {};
    }
    // What has been read is immutable.
    yyjson_mut_doc* const tree = yyjson_doc_mut_copy(read, nullptr);
    yyjson_mut_val* const app = yyjson_mut_obj_get(yyjson_mut_doc_get_root(tree), "App");
    yyjson_mut_val* const flag = yyjson_mut_obj_get(app, "isEncoder");
    yyjson_mut_set_bool(flag, !yyjson_mut_get_bool(flag));
    std::size_t length = 0;
    char* const bytes = yyjson_mut_write(tree, YYJSON_WRITE_PRETTY_TWO_SPACES, &length);
    std::string text(bytes, length);
    std::free(bytes);
    yyjson_mut_doc_free(tree);
    yyjson_doc_free(read);
    return text;
}
