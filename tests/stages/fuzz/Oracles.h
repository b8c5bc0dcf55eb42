// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

// The oracles: what has to hold whatever bytes the product is given. Each function checks one part
// of it and returns a description of what does not hold, or an empty text.

/// Parses the bytes as a document. The code exists; position and destination are as promised; a
/// failure depends on nothing after its byte; spaces between tokens change nothing, and a document
/// is parsed alike inside another one. What is written of it, on one line and indented, is parsed
/// as one tree, and from then on nothing changes. Which code, position and tree are right is for
/// the reference model to say.
std::string checkDocument(const std::string& bytes);

/// Runs an update. The first two bytes choose what decides, whether it is a query, and what has the
/// temporary name; the others are the configuration file, in /appliance. Status, messages, file and
/// temporary file are those of the reference (see ExpectedRun.h).
///
/// REQUIRES: a private root (see enterPrivateRoot).
std::string checkUpdate(const std::string& bytes);

/// Each combination of the first two bytes that checkUpdate tells apart.
std::vector<std::string> updateChoices();
