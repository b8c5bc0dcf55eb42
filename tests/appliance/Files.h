// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

/// The bytes of the file, 64 MiB of them at most; "(missing)" where it cannot be opened.
std::string readFile(const std::string& path);

/// Makes the file hold exactly this text.
void writeFile(const std::string& path, const std::string& text);

/// The names in the folder, sorted; none where there is no such folder.
std::vector<std::string> namesIn(const std::string& folder);

/// Makes the folder exist and be empty.
void emptyFolder(const std::string& folder);
