// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <yyjson.h>

#include "bench/json/Job.h"
#include "bench/json/SameBytes.h"

namespace {

struct Member {
    std::string_view name;
    yyjson_val* value;
};

/// The elements of an array, for a loop.
std::vector<yyjson_val*> elementsOf(yyjson_val* array)
{
    std::vector<yyjson_val*> elements;
    elements.reserve(yyjson_arr_size(array));
    yyjson_arr_iter place = yyjson_arr_iter_with(array);
    while (yyjson_val* const element = yyjson_arr_iter_next(&place)) {
        elements.push_back(element);
    }
    return elements;
}

std::vector<Member> membersOf(yyjson_val* object)
{
    std::vector<Member> members;
    members.reserve(yyjson_obj_size(object));
    yyjson_obj_iter place = yyjson_obj_iter_with(object);
    while (yyjson_val* const key = yyjson_obj_iter_next(&place)) {
        members.push_back(
            {{yyjson_get_str(key), yyjson_get_len(key)}, yyjson_obj_iter_get_val(key)});
    }
    return members;
}

/// The value, with this one boolean inverted.
void write(SameBytes& text, yyjson_val* value, const yyjson_val* inverted)
{
    switch (yyjson_get_type(value)) {
    case YYJSON_TYPE_OBJ: {
        std::vector<Member> members = membersOf(value);
        text.appendObject(members, [&](yyjson_val& member) { write(text, &member, inverted); });
        break;
    }
    case YYJSON_TYPE_ARR:
        text.appendLines('[', elementsOf(value), ']',
                         [&](yyjson_val* element) { write(text, element, inverted); });
        break;
    case YYJSON_TYPE_STR:
        text.appendString({yyjson_get_str(value), yyjson_get_len(value)});
        break;
    case YYJSON_TYPE_NUM:
        if (yyjson_is_int(value)) {
            text.appendInteger(yyjson_get_sint(value));
        } else {
            text.appendReal(yyjson_get_real(value));
        }
        break;
    case YYJSON_TYPE_BOOL:
        text.append(yyjson_get_bool(value) != (value == inverted) ? "true" : "false");
        break;
    default:
        text.append("null");
        break;
    }
}

}  // namespace

std::string jobOfYyjsonSame(const std::string& document)
{
    yyjson_doc* const tree = yyjson_read(document.data(), document.size(), 0);
    if (tree == nullptr) {
        return {};
    }
    yyjson_val* const root = yyjson_doc_get_root(tree);
    SameBytes text;
    write(text, root, yyjson_obj_get(yyjson_obj_get(root, "App"), "isEncoder"));
    yyjson_doc_free(tree);
    return text.release();
}
