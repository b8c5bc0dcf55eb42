// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <boost/json.hpp>

#include "bench/json/Job.h"

namespace {

namespace json = boost::json;

/// The library writes the compact form only; this is the indented one that its manual shows.
void write(std::string& text, const json::value& value, std::size_t indentation)
{
    const auto lines = [&](const auto& container, char opening, char closing, auto writeOne) {
        text += opening;
        const char* separator = "\n";
        for (const auto& one : container) {
            text += separator;
            text.append(indentation + 2, ' ');
            writeOne(one);
            separator = ",\n";
        }
        if (!container.empty()) {
            text += '\n';
            text.append(indentation, ' ');
        }
        text += closing;
    };
    if (const json::object* const object = value.if_object()) {
        lines(*object, '{', '}', [&](const auto& member) {
            text += json::serialize(member.key());
            text += ": ";
            write(text, member.value(), indentation + 2);
        });
    } else if (const json::array* const array = value.if_array()) {
        lines(*array, '[', ']',
              [&](const auto& element) { write(text, element, indentation + 2); });
    } else {
        text += json::serialize(value);
    }
}

}  // namespace

std::string jobOfBoost(const std::string& document)
{
    boost::system::error_code error;
    json::value root = json::parse(document, error);
    if (error) {
        return {};
    }
    bool& flag = root.at("App").at("isEncoder").as_bool();
    flag = !flag;
    std::string text;
    write(text, root, 0);
    return text;
}
