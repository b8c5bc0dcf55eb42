// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "fileio/ReplacingFile.h"
#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;

// What stands in the directory after a replacement: the new file's attributes, and all else.
namespace {

const std::string directory = "/appliance";
const std::string path = directory + "/config.json";
const std::string temporaryPath = path + ".filsec";

struct stat statusOf(const std::string& name)
{
    struct stat status = {};
    EXPECT_EQ(lstat(name.c_str(), &status), 0) << name;
    return status;
}

mode_t modeOf(const std::string& name)
{
    return statusOf(name).st_mode & 07777U;
}

/// The entries of the directory and all that can be seen of them, by name.
std::map<std::string, std::string> entries()
{
    std::map<std::string, std::string> all;
    for (const std::string& name : namesIn(directory)) {
        const struct stat status = statusOf(directory + "/" + name);
        std::ostringstream text;
        text << status.st_ino << ' ' << status.st_mode << ' ' << status.st_nlink << ' '
             << status.st_uid << ' ' << status.st_gid << ' ' << status.st_size << ' '
             << status.st_mtim.tv_sec << '.' << status.st_mtim.tv_nsec << ' '
             << status.st_ctim.tv_sec << '.' << status.st_ctim.tv_nsec;
        all[name] = text.str();
    }
    return all;
}

/// Replaces the file. Returns the result of finish.
int replace()
{
    ReplacingFile file;
    EXPECT_EQ(file.open(path), 0);
    file << "new";
    return file.finish();
}

class NewFile : public testing::Test {
protected:
    NewFile() : maskBefore(umask(022))
    {
        emptyDirectory(directory);
        writeFile(path, "old");
    }
    ~NewFile() override { umask(maskBefore); }

private:
    mode_t maskBefore;
};

TEST_F(NewFile, HasTheModeThatTheUmaskLeaves)
{
    for (const mode_t mask : {0000U, 0022U, 0027U, 0077U, 0133U, 0777U}) {
        SCOPED_TRACE(mask);
        chmod(path.c_str(), 0640);
        umask(mask);
        EXPECT_EQ(replace(), 0);
        umask(022);

        EXPECT_EQ(modeOf(path), 0666U & ~mask);
        chmod(path.c_str(), 0644);
        EXPECT_EQ(readFile(path), "new");
    }
}

TEST_F(NewFile, BelongsToTheUserOfTheProcess)
{
    EXPECT_EQ(replace(), 0);

    EXPECT_EQ(statusOf(path).st_uid, geteuid());
    EXPECT_EQ(statusOf(path).st_gid, getegid());
    EXPECT_EQ(statusOf(path).st_nlink, 1U);
    EXPECT_TRUE(S_ISREG(statusOf(path).st_mode));
}

TEST_F(NewFile, HasTheModeOfATemporaryFileThatWasLeft)
{
    writeFile(temporaryPath, "left, and longer");
    ASSERT_EQ(chmod(temporaryPath.c_str(), 0606), 0);
    EXPECT_EQ(replace(), 0);

    EXPECT_EQ(modeOf(path), 0606U);
    EXPECT_EQ(readFile(path), "new");
}

// A user namespace may know this user only, and none that a file could be given to (EINVAL).
TEST_F(NewFile, BelongsToTheOwnerOfATemporaryFileThatWasLeft)
{
    constexpr uid_t somebody = 12345;
    writeFile(temporaryPath, "left");
    ASSERT_EQ(chmod(temporaryPath.c_str(), 0666), 0);
    const bool given = chown(temporaryPath.c_str(), somebody, somebody) == 0;
    ASSERT_TRUE(given || errno == EINVAL);
    EXPECT_EQ(replace(), 0);

    EXPECT_EQ(statusOf(path).st_uid, given ? somebody : geteuid());
    EXPECT_EQ(readFile(path), "new");
}

TEST_F(NewFile, IsNotMadeOverATemporaryFileOfSomebodyElse)
{
    constexpr uid_t somebody = 12345;
    writeFile(temporaryPath, "left");
    const bool given = chown(temporaryPath.c_str(), somebody, somebody) == 0;
    ASSERT_TRUE(given || errno == EINVAL);
    ASSERT_TRUE(given || chmod(temporaryPath.c_str(), 0444) == 0);
    const auto before = entries();

    ReplacingFile file;
    EXPECT_EQ(file.open(path), -1);
    EXPECT_EQ(entries(), before);
}

TEST_F(NewFile, IsAllThatChangesInTheDirectory)
{
    for (const char* const name :
         {"config", "config.json~", "config.json.bak", "config.json.old", "config.json.tmp",
          "config.json.fil", "config.json.filsec.filsec", ".config.json", ".filsec"}) {
        writeFile(directory + "/" + name, name);
    }
    for (const bool leftOver : {false, true}) {
        SCOPED_TRACE(leftOver);
        if (leftOver) {
            writeFile(temporaryPath, "left");
        }
        auto before = entries();
        before.erase("config.json");
        before.erase("config.json.filsec");
        EXPECT_EQ(replace(), 0);

        auto after = entries();
        EXPECT_EQ(after.erase("config.json"), 1U);
        EXPECT_EQ(after, before);
    }
}

TEST_F(NewFile, IsLeftBesideTheOldOneAfterAFailure)
{
    auto before = entries();
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file << "new";
        file.setstate(std::ios::badbit);
        EXPECT_EQ(file.finish(), 1);
    }

    auto after = entries();
    EXPECT_EQ(after.erase("config.json.filsec"), 1U);
    EXPECT_EQ(after, before);
}

TEST_F(NewFile, IsNoFileAnyMoreWhereTheTemporaryFileIsALinkToIt)
{
    fs::create_symlink("config.json", temporaryPath);
    EXPECT_EQ(replace(), 0);

    EXPECT_EQ(fs::read_symlink(path), "config.json");
    EXPECT_EQ(namesIn(directory), std::vector<std::string>{"config.json"});
}

// rename(2) does nothing where both names lead to one file.
TEST_F(NewFile, IsTheOldOneWhereTheTemporaryFileIsAHardLinkToIt)
{
    fs::create_hard_link(path, temporaryPath);
    const ino_t before = statusOf(path).st_ino;
    EXPECT_EQ(replace(), 0);

    EXPECT_EQ(statusOf(path).st_ino, before);
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(directory), (std::vector<std::string>{"config.json", "config.json.filsec"}));
}

TEST_F(NewFile, ReachesTheFilesThatTheTemporaryFileIsLinkedTo)
{
    writeFile(directory + "/hard", "old");
    writeFile(directory + "/soft", "old");
    fs::create_hard_link(directory + "/hard", temporaryPath);
    EXPECT_EQ(replace(), 0);
    EXPECT_EQ(readFile(directory + "/hard"), "new");
    EXPECT_EQ(statusOf(path).st_ino, statusOf(directory + "/hard").st_ino);

    fs::create_symlink("soft", temporaryPath);
    EXPECT_EQ(replace(), 0);
    EXPECT_EQ(readFile(directory + "/soft"), "new");
    EXPECT_EQ(fs::read_symlink(path), "soft");
}

TEST_F(NewFile, WaitsForAReaderWhereTheTemporaryFileIsAFifo)
{
    ASSERT_EQ(mkfifo(temporaryPath.c_str(), 0600), 0);
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        ReplacingFile file;
        _exit(file.open(path) == 0 ? 0 : 1);
    }
    std::this_thread::sleep_for(100ms);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, WNOHANG), 0) << "it did not wait";

    const int reader = open(temporaryPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    close(reader);
}

}  // namespace
