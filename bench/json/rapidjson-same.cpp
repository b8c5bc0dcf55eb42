// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <rapidjson/document.h>

#include "bench/json/Job.h"
#include "bench/json/SameBytes.h"

namespace {

struct Member {
    std::string_view name;
    const rapidjson::Value* value;
};

std::string_view bytesOf(const rapidjson::Value& string)
{
    return {string.GetString(), string.GetStringLength()};
}

void write(SameBytes& text, const rapidjson::Value& value)
{
    const auto writePart = [&](const rapidjson::Value& part) { write(text, part); };
    switch (value.GetType()) {
    case rapidjson::kObjectType: {
        std::vector<Member> members;
        members.reserve(value.MemberCount());
        for (const auto& member : value.GetObject()) {
            members.push_back({bytesOf(member.name), &member.value});
        }
        text.appendObject(members, writePart);
        break;
    }
    case rapidjson::kArrayType:
        text.appendLines('[', value.GetArray(), ']', writePart);
        break;
    case rapidjson::kStringType:
        text.appendString(bytesOf(value));
        break;
    case rapidjson::kNumberType:
        if (value.IsInt64()) {
            text.appendInteger(value.GetInt64());
        } else {
            text.appendReal(value.GetDouble());
        }
        break;
    default:
        text.append(value.IsNull() ? "null" : value.GetBool() ? "true" : "false");
        break;
    }
}

}  // namespace

std::string jobOfRapidJsonSame(const std::string& document)
{
    rapidjson::Document root;
    // Its quick way to read a double is sometimes wrong in the last digit.
    if (root.Parse<rapidjson::kParseFullPrecisionFlag>(document.data(), document.size())
            .HasParseError()) {
        return {};
    }
    rapidjson::Value& flag = root["App"]["isEncoder"];
    flag.SetBool(!flag.GetBool());
    SameBytes text;
    write(text, root);
    return text.release();
}
