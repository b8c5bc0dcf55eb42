// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

// What has to hold whatever bytes the product is given. Each function tries one part of it with the
// bytes and returns what did not hold, in words, or an empty text.

/// Reads the bytes as a document. The code is one that exists and fits the byte it speaks of; the
/// position, the destination and the tree are as promised; a failure depends on nothing behind its
/// byte; blanks between tokens change nothing, and a document is read alike inside another one.
std::string tryParse(const std::string& bytes);

/// Reads the bytes as a document, trimmed, and writes the tree, on one line and indented. The text
/// is read again as what was written, as far as its numbers can be told from their text, and from
/// then on it stays as it is.
std::string tryRewrite(const std::string& bytes);

/// Runs an update. The first two bytes choose what decides, whether it is a query, and what stands
/// where the temporary file is to be; the others are the configuration file, in /appliance. The
/// status, every message, the file and what is beside it are foretold from the tree.
///
/// REQUIRES: a private root (see enterPrivateRoot).
std::string tryUpdate(const std::string& bytes);
