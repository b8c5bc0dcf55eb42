// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

/// The job that each library does in its own way: reads the document, inverts its boolean
/// App/isEncoder, and gives the document's indented text; or an empty text where the library
/// refuses the document.
using Job = std::string (*)(const std::string& document);

std::string jobOfOurs(const std::string& document);
std::string jobOfRapidJson(const std::string& document);
std::string jobOfNlohmann(const std::string& document);
std::string jobOfJsonCpp(const std::string& document);
std::string jobOfJsonC(const std::string& document);
std::string jobOfJansson(const std::string& document);
std::string jobOfBoost(const std::string& document);
