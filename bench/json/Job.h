// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

/// The job that each library does in its own way: reads the document, inverts its boolean
/// App/isEncoder, and gives the document's indented text; or an empty text if the library refuses
/// the document. Those of the second group give the text that json/ gives. A job is weak: null in a
/// program that is built without its library.
using Job = std::string (*)(const std::string& document);

std::string jobOfOurs(const std::string& document);
[[gnu::weak]] std::string jobOfRapidJson(const std::string& document);
[[gnu::weak]] std::string jobOfYyjson(const std::string& document);
[[gnu::weak]] std::string jobOfNlohmann(const std::string& document);
[[gnu::weak]] std::string jobOfJsonCpp(const std::string& document);
[[gnu::weak]] std::string jobOfJsonC(const std::string& document);
[[gnu::weak]] std::string jobOfJansson(const std::string& document);
[[gnu::weak]] std::string jobOfBoost(const std::string& document);

[[gnu::weak]] std::string jobOfRapidJsonSame(const std::string& document);
[[gnu::weak]] std::string jobOfYyjsonSame(const std::string& document);

/// What the job cannot cost less than: finds the flag by its name and inverts it in a copy of the
/// text, without reading the document.
std::string jobOfBytePatch(const std::string& document);
