// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "fileio/TextFile.h"

#include <algorithm>
#include <fstream>
#include <ios>
#include <limits>

bool readTextFile(const std::string& name, std::string& text, std::int64_t limit)
{
    std::ifstream file(name, std::ios::in | std::ios::binary);
    if (!file.good()) {
        return false;
    }
    file.seekg(0, std::ios::end);
    const std::streamoff size = file.tellg();
    constexpr std::int64_t largestRead = std::numeric_limits<std::streamsize>::max();
    if (size < 0 || std::min(limit, largestRead) < size) {
        return false;
    }
    text.resize(static_cast<std::size_t>(size));
    file.seekg(0);
    file.read(text.data(), static_cast<std::streamsize>(size));
    return true;
}
