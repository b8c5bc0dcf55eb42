// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/appliance/Files.h"

#include <sys/stat.h>

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
    std::sort(names.begin(), names.end());
    return names;
}

void emptyDirectory(const std::string& directory)
{
    fs::create_directories(directory);
    for (const std::string& name : namesIn(directory)) {
        fs::remove_all(fs::path(directory) / name);
    }
}

void addTo(Tree& tree, const std::string& path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0) {
        return;
    }
    if (S_ISLNK(status.st_mode)) {
        tree[path] = "link to " + fs::read_symlink(path).string();
    } else if (S_ISREG(status.st_mode)) {
        tree[path] = "file: " + readFile(path);
    } else if (S_ISDIR(status.st_mode)) {
        tree[path] = "directory";
        chmod(path.c_str(), 0755);  // the program may not be able to list it, but the test must be
        for (const std::string& name : namesIn(path)) {
            addTo(tree, (fs::path(path) / name).string());
        }
        chmod(path.c_str(), status.st_mode);
    } else {
        tree[path] = "neither file nor directory";
    }
}
