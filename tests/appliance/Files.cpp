// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/appliance/Files.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>

namespace fs = std::filesystem;

std::string readFile(const std::string& path)
{
    // A faulty program may have left a link to an endless device here.
    constexpr std::size_t limitBytes = std::size_t{64} << 20U;
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) {
        return "(missing)";
    }
    // In blocks: an emulated processor takes a minute to read 48 MB byte by byte.
    std::string text;
    std::array<char, 65'536> block{};
    while (text.size() < limitBytes && file.good()) {
        file.read(block.data(), block.size());
        text.append(block.data(), static_cast<std::size_t>(file.gcount()));
    }
    return text;
}

void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text << std::flush;
    if (!file.good()) {
        std::cerr << "cannot write " << path << '\n';
        std::abort();
    }
}

std::vector<std::string> namesIn(const std::string& directory)
{
    std::vector<std::string> names;
    std::error_code none;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, none)) {
        names.push_back(entry.path().filename());
    }
    std::ranges::sort(names);
    return names;
}

void emptyDirectory(const std::string& directory)
{
    fs::create_directories(directory);
    for (const std::string& name : namesIn(directory)) {
        fs::remove_all(fs::path(directory) / name);
    }
}
