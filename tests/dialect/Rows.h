// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "json/JsonParser.h"

// The tables of this directory, which are compiled in: a test sees none of the tree's files. What
// their columns mean is said in tests/stages/model/tables.py, which reads the same files.

/// A text, and what parser and writer make of it.
struct TextRow {
    std::string name;
    std::string text;
    JsonCode code = JsonCode::ok;
    std::uint64_t position = 0;
    std::string compact;  ///< what is written at level 0; empty if the text is refused
    std::string kinds;    ///< the short names of the leaves, as they follow each other in that
    std::string layout;   ///< what is written at level 2; empty if the row does not say it
};

/// A configuration file. What the program makes of it is for the reference model.
struct FileRow {
    std::string name;
    std::string file;
};

std::vector<TextRow> textRows();
std::vector<FileRow> fileRows();
