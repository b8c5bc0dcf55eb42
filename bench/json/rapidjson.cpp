// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "bench/json/Job.h"

std::string jobOfRapidJson(const std::string& document)
{
    rapidjson::Document root;
    if (root.Parse(document.data(), document.size()).HasParseError()) {
        return {};
    }
    rapidjson::Value& flag = root["App"]["isEncoder"];
    flag.SetBool(!flag.GetBool());
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
    writer.SetIndent(' ', 2);
    root.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}
