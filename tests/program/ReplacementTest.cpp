// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"
#include "tests/program/Documents.h"

namespace fs = std::filesystem;

// The new file takes the old one's place, and has nothing of it but the name.
namespace {

const std::string directory = std::string(Appliance::directory) + "/";

struct Row {
    std::string name;
    std::string path;
    std::function<void()> arrange;
    Tree after;  ///< of the appliance's directory
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

const std::string temporaryPath = configPath + ".filsec";
const std::string elsewhere = directory + "elsewhere";
const std::string longestPath = directory + std::string(longestName() - 7, 'n');
const std::string longText = "left, and longer than the new text" + std::string(200, '.');
const std::string oldFile = "file: " + handwritten("false");
const std::string newFile = "file: " + rewritten("true");

const std::vector<Row> rows = {
    {"TheFileIsALink",
     configPath,
     [] {
         fs::rename(configPath, elsewhere);
         fs::create_symlink("elsewhere", configPath);
     },
     {{configPath, newFile}, {elsewhere, oldFile}}},
    {"TheFileIsAHardLink",
     configPath,
     [] { fs::create_hard_link(configPath, elsewhere); },
     {{configPath, newFile}, {elsewhere, oldFile}}},
    {"TheFileIsReadOnly",
     configPath,
     [] { chmod(configPath.c_str(), 0444); },
     {{configPath, newFile}}},
    {"TheTemporaryFileIsLeftOver",
     configPath,
     [] { writeFile(temporaryPath, longText); },
     {{configPath, newFile}}},
    {"TheTemporaryNameIsALink",
     configPath,
     [] {
         writeFile(elsewhere, longText);
         fs::create_symlink("elsewhere", temporaryPath);
     },
     {{configPath, "link to elsewhere"}, {elsewhere, newFile}}},
    {"TheTemporaryNameIsADanglingLink",
     configPath,
     [] { fs::create_symlink("elsewhere", temporaryPath); },
     {{configPath, "link to elsewhere"}, {elsewhere, newFile}}},
    {"TheNameIsAsLongAsTheSuffixAllows",
     longestPath,
     [] { fs::rename(configPath, longestPath); },
     {{longestPath, newFile}}},
};

class ReplacementOfAnything : public testing::TestWithParam<Row> {};

TEST_P(ReplacementOfAnything, LeavesTheNewFileUnderTheName)
{
    const Row& row = GetParam();
    Appliance appliance;
    writeFile(configPath, handwritten("false"));
    row.arrange();

    EXPECT_EQ(appliance.run({row.path, "-enc"}).status, 1);

    Tree after;
    addTo(after, Appliance::directory);
    after.erase(Appliance::directory);
    EXPECT_EQ(after, row.after);
}

INSTANTIATE_TEST_SUITE_P(If, ReplacementOfAnything, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

// Only the superuser may give a file away (EPERM), and a user namespace may know nobody else that
// it could be given to (EINVAL).
TEST(Replacement, KeepsNeitherTheOwnerNorTheModeNorTheTimes)
{
    Appliance appliance;
    writeFile(configPath, handwritten("false"));
    constexpr uid_t somebody = 12345;
    const bool given = chown(configPath.c_str(), somebody, somebody) == 0;
    ASSERT_TRUE(given || errno == EINVAL || errno == EPERM);
    ASSERT_EQ(chmod(configPath.c_str(), 0604), 0);
    constexpr std::time_t longAgo = 1'000'000'000;
    const std::array<timespec, 2> times = {timespec{longAgo, 0}, timespec{longAgo, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, configPath.c_str(), times.data(), 0), 0);

    EXPECT_EQ(appliance.run({configPath, "-enc"}).status, 1);

    EXPECT_EQ(readFile(configPath), rewritten("true"));
    struct stat status = {};
    ASSERT_EQ(lstat(configPath.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, geteuid());
    EXPECT_EQ(status.st_gid, getegid());
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
    EXPECT_GT(status.st_mtim.tv_sec, longAgo + 1000);
}

// A tmpfs has such attributes since Linux 6.6; the disk of the build is next.
TEST(Replacement, KeepsNoExtendedAttribute)
{
    Appliance appliance;
    std::string path;
    for (const std::string& place : {directory, std::string(executableDirectory()) + "/"}) {
        path = place + "attributes.json";
        writeFile(path, handwritten("false"));
        if (setxattr(path.c_str(), "user.note", "rack 7", 6, 0) == 0) {
            break;
        }
        fs::remove(path);
    }
    ASSERT_EQ(getxattr(path.c_str(), "user.note", nullptr, 0), 6) << errno;

    EXPECT_EQ(appliance.run({path, "-enc"}).status, 1);

    EXPECT_EQ(readFile(path), rewritten("true"));
    EXPECT_EQ(getxattr(path.c_str(), "user.note", nullptr, 0), -1);
    fs::remove(path);
}

// The temporary file that is left over can be written, but not renamed.
TEST(Replacement, IsRefusedIfTheDirectoryIsNotWritable)
{
    Appliance appliance;
    writeFile(configPath, handwritten("false"));
    writeFile(temporaryPath, "");
    chmod(Appliance::directory, 0555);

    const RunResult run = appliance.run({configPath, "-enc"});

    chmod(Appliance::directory, 0755);
    const expected::Run expectedRun = expected::run({.arguments = {configPath, "-enc"},
                                                     .configuration = configurationRecording(false),
                                                     .writing = expected::notWritten(-3)});
    EXPECT_EQ(run.status, expectedRun.status);
    EXPECT_EQ(run.err, expectedRun.err);
    EXPECT_EQ(readFile(configPath), handwritten("false"));
    EXPECT_EQ(readFile(temporaryPath), rewritten("true"));
}

}  // namespace
