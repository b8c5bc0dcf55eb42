// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"
#include "tests/stages/faults/Guarantee.h"

namespace fs = std::filesystem;

// What may have the name of the configuration file or of the temporary file, and what those names
// may be.
namespace {

const std::string directory = std::string(Appliance::directory) + "/";
const std::string temporaryPath = configPath + ".filsec";
const std::string oldText = handwritten("false");
const std::string oldFile = "file: " + oldText;
const std::string newFile = "file: " + rewritten("true");

std::string pathOfLength(std::size_t length)
{
    return directory + std::string(length, 'n');
}

struct Row {
    std::string name;
    std::string path;
    std::function<void()> arrange;
    int status;
    std::string error;  ///< the message; empty if there is no error
    Tree after;         ///< of the appliance's directory
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
    {"TemporaryNameIsADirectory",
     configPath,
     configAnd([] { fs::create_directory(temporaryPath); }),
     226,
     expected::notOpened().message,
     {{configPath, oldFile}, {temporaryPath, "directory"}}},
    {"TemporaryNameIsALinkToAFile",
     configPath,
     configAnd([] {
         writeFile(directory + "elsewhere", "a text that is longer than " + rewritten("true"));
         fs::create_symlink("elsewhere", temporaryPath);
     }),
     1,
     "",
     {{configPath, "link to elsewhere"}, {directory + "elsewhere", newFile}}},
    {"TemporaryNameIsADanglingLink",
     configPath,
     configAnd([] { fs::create_symlink("elsewhere", temporaryPath); }),
     1,
     "",
     {{configPath, "link to elsewhere"}, {directory + "elsewhere", newFile}}},
    {"TemporaryNameIsALinkToAFullDevice",
     configPath,
     configAnd([] { fs::create_symlink("/dev/full", temporaryPath); }),
     236,
     expected::notWritten(1).message,
     {{configPath, oldFile}, {temporaryPath, "link to /dev/full"}}},
    {"TemporaryNameIsALinkToItself",
     configPath,
     configAnd([] { fs::create_symlink("config.json.filsec", temporaryPath); }),
     226,
     expected::notOpened().message,
     {{configPath, oldFile}, {temporaryPath, "link to config.json.filsec"}}},
    {"TemporaryFileIsReadOnly",
     configPath,
     configAnd([] {
         writeFile(temporaryPath, "left");
         chmod(temporaryPath.c_str(), 0444);
     }),
     226,
     expected::notOpened().message,
     {{configPath, oldFile}, {temporaryPath, "file: left"}}},
    {"ConfigIsADirectory",
     configPath,
     [] { fs::create_directory(configPath); },
     163,
     expected::unreadable(configPath).message,
     {{configPath, "directory"}}},
    {"ConfigIsALink",
     configPath,
     [] {
         writeFile(directory + "elsewhere", oldText);
         fs::create_symlink("elsewhere", configPath);
     },
     1,
     "",
     {{configPath, newFile}, {directory + "elsewhere", oldFile}}},
    {"ConfigIsReadOnly",
     configPath,
     configAnd([] { chmod(configPath.c_str(), 0444); }),
     1,
     "",
     {{configPath, newFile}}},
    {"DirectoryIsReadOnly",
     configPath,
     configAnd([] { chmod(Appliance::directory, 0555); }),
     226,
     expected::notOpened().message,
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
     expected::notOpened().message,
     {{pathOfLength(249), oldFile}}},
    {"NameOf255Bytes",
     pathOfLength(255),
     configNamed(pathOfLength(255)),
     226,
     expected::notOpened().message,
     {{pathOfLength(255), oldFile}}},
    {"NameOf256Bytes",
     pathOfLength(256),
     [] {},
     163,
     expected::unreadable(pathOfLength(256)).message,
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

Tree filesInDirectory()
{
    Tree tree = currentTree();
    std::erase_if(tree, [](const auto& entry) { return !entry.first.starts_with(directory); });
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
              row.error.empty() ? expected::report({}, 0, 1).back() : "ERROR: " + row.error + "\n");
    EXPECT_EQ(filesInDirectory(), row.after);
    RecordProperty("names", 1);
}

INSTANTIATE_TEST_SUITE_P(, Name, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

}  // namespace
