// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <map>
#include <string>
#include <vector>

/// Returns the contents of the file, at most 64 MiB; "(missing)" if it cannot be opened.
std::string readFile(const std::string& path);

/// Creates or truncates the file and writes this text to it.
void writeFile(const std::string& path, const std::string& text);

/// Returns the names in the directory, sorted; none if there is no such directory.
std::vector<std::string> namesIn(const std::string& directory);

/// Creates the directory or removes everything in it.
void emptyDirectory(const std::string& directory);

/// Paths, and what has each: "file: " and its text, "link to " and its target, "directory".
using Tree = std::map<std::string, std::string>;

/// Adds the path, and all below it if it is a directory; nothing if there is no such path.
void addTo(Tree& tree, const std::string& path);
