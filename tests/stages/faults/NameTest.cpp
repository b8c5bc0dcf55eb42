// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"
#include "tests/stages/faults/Promise.h"

namespace fs = std::filesystem;

// What may stand under the name of the configuration file or of the temporary file, and what those
// names may be.
namespace {

const std::string folder = std::string(Appliance::directory) + "/";
const std::string temporaryPath = configPath + ".filsec";
const std::string oldText = handwritten("false");
const std::string oldFile = "file: " + oldText;
const std::string newFile = "file: " + rewritten("true");

std::string pathOfLength(std::size_t length)
{
    return folder + std::string(length, 'n');
}

struct Row {
    std::string name;
    std::string path;
    std::function<void()> arrange;
    int status;
    std::string error;  ///< how the console's last line begins; empty where there is no error
    Tree after;         ///< below the folder
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

std::function<void()> configAnd(const std::function<void()>& more)
{
    return [more] {
        writeFile(configPath, oldText);
        more();
    };
}

std::function<void()> configNamed(const std::string& path)
{
    return [path] { writeFile(path, oldText); };
}

const std::vector<Row> rows = {
    {"TemporaryNameIsAFolder",
     configPath,
     configAnd([] { fs::create_directory(temporaryPath); }),
     226,
     "ERROR: Cannot open Json file for writing, code -1",
     {{configPath, oldFile}, {temporaryPath, "folder"}}},
    {"TemporaryNameIsALinkToAFile",
     configPath,
     configAnd([] {
         writeFile(folder + "elsewhere", "a text that is longer than " + rewritten("true"));
         fs::create_symlink("elsewhere", temporaryPath);
     }),
     1,
     "",
     {{configPath, "link to elsewhere"}, {folder + "elsewhere", newFile}}},
    {"TemporaryNameIsALinkToNothing",
     configPath,
     configAnd([] { fs::create_symlink("elsewhere", temporaryPath); }),
     1,
     "",
     {{configPath, "link to elsewhere"}, {folder + "elsewhere", newFile}}},
    {"TemporaryNameIsALinkToAFullDevice",
     configPath,
     configAnd([] { fs::create_symlink("/dev/full", temporaryPath); }),
     236,
     "ERROR: Cannot write Json file, code 1",
     {{configPath, oldFile}, {temporaryPath, "link to /dev/full"}}},
    {"TemporaryNameIsALinkToItself",
     configPath,
     configAnd([] { fs::create_symlink("config.json.filsec", temporaryPath); }),
     226,
     "ERROR: Cannot open Json file for writing, code -1",
     {{configPath, oldFile}, {temporaryPath, "link to config.json.filsec"}}},
    {"TemporaryFileIsReadOnly",
     configPath,
     configAnd([] {
         writeFile(temporaryPath, "left");
         chmod(temporaryPath.c_str(), 0444);
     }),
     226,
     "ERROR: Cannot open Json file for writing, code -1",
     {{configPath, oldFile}, {temporaryPath, "file: left"}}},
    {"ConfigIsAFolder",
     configPath,
     [] { fs::create_directory(configPath); },
     163,
     "ERROR: Cannot read Json config file '" + configPath + "'",
     {{configPath, "folder"}}},
    {"ConfigIsALink",
     configPath,
     [] {
         writeFile(folder + "elsewhere", oldText);
         fs::create_symlink("elsewhere", configPath);
     },
     1,
     "",
     {{configPath, newFile}, {folder + "elsewhere", oldFile}}},
    {"ConfigIsReadOnly",
     configPath,
     configAnd([] { chmod(configPath.c_str(), 0444); }),
     1,
     "",
     {{configPath, newFile}}},
    {"FolderIsReadOnly",
     configPath,
     configAnd([] { chmod(Appliance::directory, 0555); }),
     226,
     "ERROR: Cannot open Json file for writing, code -1",
     {{configPath, oldFile}}},
    {"NameOf248Bytes",
     pathOfLength(248),
     configNamed(pathOfLength(248)),
     1,
     "",
     {{pathOfLength(248), newFile}}},
    {"NameOf249Bytes",
     pathOfLength(249),
     configNamed(pathOfLength(249)),
     226,
     "ERROR: Cannot open Json file for writing, code -1",
     {{pathOfLength(249), oldFile}}},
    {"NameOf255Bytes",
     pathOfLength(255),
     configNamed(pathOfLength(255)),
     226,
     "ERROR: Cannot open Json file for writing, code -1",
     {{pathOfLength(255), oldFile}}},
    {"NameOf256Bytes",
     pathOfLength(256),
     [] {},
     163,
     "ERROR: Cannot read Json config file '" + pathOfLength(256) + "'",
     {}},
};

class Name : public testing::TestWithParam<Row> {
protected:
    void TearDown() override { chmod(Appliance::directory, 0755); }
};

std::string lastLineOf(const std::string& text)
{
    return text.substr(text.rfind('\n', text.size() - 2) + 1);
}

Tree filesBelowFolder()
{
    Tree tree = treeNow();
    std::erase_if(tree, [](const auto& entry) { return !entry.first.starts_with(folder); });
    return tree;
}

TEST_P(Name, DecidesWhetherTheFileIsReplaced)
{
    const Row& row = GetParam();
    Appliance appliance;
    row.arrange();

    const RunResult run = appliance.run({row.path, "-flip"});

    EXPECT_EQ(run.status, row.status);
    EXPECT_EQ(lastLineOf(run.err),
              row.error.empty() ? "New setting    : Encoder\n" : row.error + "\n");
    EXPECT_EQ(filesBelowFolder(), row.after);
    RecordProperty("names", 1);
}

INSTANTIATE_TEST_SUITE_P(, Name, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

}  // namespace
