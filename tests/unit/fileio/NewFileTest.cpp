// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include "fileio/ReplacingFile.h"
#include "tests/appliance/Files.h"

using namespace std::chrono_literals;

// The attributes of the file that replaces another.
namespace {

const std::string path = "/appliance/config.json";
const std::string temporaryPath = path + ".filsec";
constexpr uid_t somebody = 12345;

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

void replace()
{
    ReplacingFile file;
    EXPECT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.finish(), 0);
}

class NewFile : public testing::Test {
protected:
    NewFile() : maskBefore(umask(022))
    {
        emptyDirectory("/appliance");
        writeFile(path, "old");
    }
    ~NewFile() override { umask(maskBefore); }

    /// Leaves a temporary file that belongs to somebody else. Returns false in a user namespace
    /// that knows one user only, and none that a file could be given to (EINVAL).
    static bool leaveSomebodysFile(mode_t mode)
    {
        writeFile(temporaryPath, "left, and longer");
        EXPECT_EQ(chmod(temporaryPath.c_str(), mode), 0);
        const bool given = chown(temporaryPath.c_str(), somebody, somebody) == 0;
        EXPECT_TRUE(given || errno == EINVAL);
        return given;
    }

private:
    mode_t maskBefore;
};

TEST_F(NewFile, HasTheModeThatTheUmaskLeaves)
{
    for (const mode_t mask : {0000U, 0022U, 0077U, 0133U, 0777U}) {
        SCOPED_TRACE(mask);
        chmod(path.c_str(), 0640);
        umask(mask);
        replace();
        umask(022);

        EXPECT_EQ(modeOf(path), 0666U & ~mask);
        chmod(path.c_str(), 0644);
        EXPECT_EQ(readFile(path), "new");
    }
}

TEST_F(NewFile, BelongsToTheUserOfTheProcess)
{
    replace();

    EXPECT_EQ(statusOf(path).st_uid, geteuid());
    EXPECT_EQ(statusOf(path).st_gid, getegid());
    EXPECT_EQ(statusOf(path).st_nlink, 1U);
    EXPECT_TRUE(S_ISREG(statusOf(path).st_mode));
}

TEST_F(NewFile, HasTheOwnerAndTheModeOfATemporaryFileThatWasLeft)
{
    const bool given = leaveSomebodysFile(0606);
    replace();

    EXPECT_EQ(statusOf(path).st_uid, given ? somebody : geteuid());
    EXPECT_EQ(modeOf(path), 0606U);
    EXPECT_EQ(readFile(path), "new");
}

TEST_F(NewFile, IsNotMadeOverATemporaryFileOfSomebodyElse)
{
    leaveSomebodysFile(0444);

    ReplacingFile file;
    EXPECT_EQ(file.open(path), -1);
    EXPECT_EQ(readFile(temporaryPath), "left, and longer");
}

TEST_F(NewFile, IsMadeWhenAFifoOfTheTemporaryNameHasAReader)
{
    ASSERT_EQ(mkfifo(temporaryPath.c_str(), 0600), 0);
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        ReplacingFile file;
        bool replaced = file.open(path) == 0;
        file << "new";
        replaced = file.finish() == 0 && replaced;
        _exit(replaced ? 0 : 1);
    }
    std::this_thread::sleep_for(100ms);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, WNOHANG), 0) << "it did not wait";

    const int reader = open(temporaryPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(S_ISFIFO(statusOf(path).st_mode));
    close(reader);
}

}  // namespace
