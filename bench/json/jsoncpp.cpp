// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <json/json.h>

#include <memory>

#include "bench/json/Job.h"

std::string jobOfJsonCpp(const std::string& document)
{
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value root;
    if (!reader->parse(document.data(), document.data() + document.size(), &root, nullptr)) {
        return {};
    }
    Json::Value& flag = root["App"]["isEncoder"];
    flag = !flag.asBool();
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    return Json::writeString(builder, root);
}
