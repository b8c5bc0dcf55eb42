// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

/// The job that each library does in its own way: reads the document, inverts its boolean
/// App/isEncoder, and gives the document's indented text; or an empty text if the library refuses
/// the document. Those of the second group give the text that json/ gives.
using Job = std::string (*)(const std::string& document);

std::string jobOfOurs(const std::string& document);
std::string jobOfRapidJson(const std::string& document);
std::string jobOfYyjson(const std::string& document);
std::string jobOfNlohmann(const std::string& document);
std::string jobOfJsonCpp(const std::string& document);
std::string jobOfJsonC(const std::string& document);
std::string jobOfJansson(const std::string& document);
std::string jobOfBoost(const std::string& document);

std::string jobOfRapidJsonSame(const std::string& document);
std::string jobOfYyjsonSame(const std::string& document);

/// What the job cannot cost less than: finds the flag by its name and inverts it in a copy of the
/// text, without reading the document.
std::string jobOfBytePatch(const std::string& document);
