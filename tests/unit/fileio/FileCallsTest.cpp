// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "fileio/ReplacingFile.h"
#include "fileio/TextFile.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/StandardInputClosed.h"
#include "tests/unit/calls/Calls.h"

namespace fs = std::filesystem;

// Reading and replacing a file as the sequence of calls that it makes.
namespace {

const std::string directory = "/appliance";
const std::string path = directory + "/config.json";
const std::string temporaryPath = path + ".filsec";

class FileCalls : public testing::Test {
protected:
    FileCalls()
    {
        emptyDirectory(directory);
        writeFile(path, "0123456789");
    }

    /// Returns the calls of reading the file, during whose first read(2) this happens.
    std::string callsOfReadingDuring(const std::function<void()>& event)
    {
        bool happened = false;
        calls.before = [&](const std::string& line) {
            if (line.starts_with("read ") && !happened) {
                happened = true;
                event();
            }
        };
        return calls.record([] {
            std::string text;
            EXPECT_TRUE(readTextFile(path, text, 10));
        });
    }

    class RecordedCalls : public Calls {
    public:
        bool syncs = true;

    private:
        int syncing(int /*descriptor*/) override { return syncs ? 0 : EIO; }
    };

    RecordedCalls calls;
};

TEST_F(FileCalls, OfReadingAskForTheSizeBeforeTheBytes)
{
    std::string text;
    bool result = false;

    EXPECT_EQ(calls.record([&] { result = readTextFile(path, text, 10); }),
              "fopen /appliance/config.json rb\n"
              "lseek /appliance/config.json end\n"
              "lseek /appliance/config.json start\n"
              "read /appliance/config.json \"0123456789\"\n"
              "fclose /appliance/config.json\n");
    EXPECT_TRUE(result);
}

// More than a stream's buffer holds goes to the text directly.
TEST_F(FileCalls, OfReadingALargeFileAskForItInOnePiece)
{
    writeFile(path, std::string(10'000, 'x'));

    EXPECT_EQ(calls.record([] {
        std::string text;
        EXPECT_TRUE(readTextFile(path, text, 10'000));
    }),
              "fopen /appliance/config.json rb\n"
              "lseek /appliance/config.json end\n"
              "lseek /appliance/config.json start\n"
              "read /appliance/config.json 10000 bytes\n"
              "fclose /appliance/config.json\n");
}

TEST_F(FileCalls, OfReadingAFileThatShrinksEndWithItsEnd)
{
    EXPECT_EQ(callsOfReadingDuring([] { writeFile(path, "0123"); }),
              "fopen /appliance/config.json rb\n"
              "lseek /appliance/config.json end\n"
              "lseek /appliance/config.json start\n"
              "read /appliance/config.json \"0123\"\n"
              "read /appliance/config.json \"\"\n"
              "fclose /appliance/config.json\n");
}

TEST_F(FileCalls, OfReadingAFileThatGrowsEndWithTheSize)
{
    EXPECT_EQ(callsOfReadingDuring([] { writeFile(path, std::string(20'000, 'x')); }),
              "fopen /appliance/config.json rb\n"
              "lseek /appliance/config.json end\n"
              "lseek /appliance/config.json start\n"
              "read /appliance/config.json 8191 bytes\n"
              "fclose /appliance/config.json\n");
}

TEST_F(FileCalls, OfReadingAFileThatIsTooLargeEndWithItsSize)
{
    std::string text;
    bool result = true;

    EXPECT_EQ(calls.record([&] { result = readTextFile(path, text, 9); }),
              "fopen /appliance/config.json rb\n"
              "lseek /appliance/config.json end\n"
              "fclose /appliance/config.json\n");
    EXPECT_FALSE(result);
}

TEST_F(FileCalls, OfReadingAFileThatIsMissingEndWithTheOpening)
{
    fs::remove(path);
    std::string text;
    bool result = true;

    EXPECT_EQ(calls.record([&] { result = readTextFile(path, text, 10); }),
              "fopen /appliance/config.json rb = ENOENT\n");
    EXPECT_FALSE(result);
}

const std::string syncFlags = " O_RDONLY|O_CLOEXEC|O_NONBLOCK|O_NOCTTY";

std::string synced(const std::string& name)
{
    return "open " + name + syncFlags + "\nfsync " + name + "\nclose " + name + "\n";
}

std::string written(const std::string& text)
{
    return "fopen /appliance/config.json.filsec wb\n"
           "write /appliance/config.json.filsec \"" +
           text +
           "\"\n"
           "fclose /appliance/config.json.filsec\n";
}

const std::string renamed = "rename /appliance/config.json.filsec /appliance/config.json\n";

std::string replaced(const std::string& text)
{
    return written(text) + synced(temporaryPath) + renamed + synced(path) + synced(directory + "/");
}

void replace(std::int32_t expected = 0)
{
    ReplacingFile file;
    EXPECT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.finish(), expected);
}

TEST_F(FileCalls, OfReplacingSyncTheBytesRenameAndSyncTheName)
{
    EXPECT_EQ(calls.record([] {
        ReplacingFile file;
        EXPECT_EQ(file.open(path), 0);
        file << "new";
        EXPECT_EQ(file.finish(), 0);
        EXPECT_EQ(file.finish(), 0);
    }),
              replaced("new"))
        << "finished twice";
    EXPECT_EQ(calls.record([] {
        ReplacingFile file;
        EXPECT_EQ(file.open(path), 0);
        file << "new";
    }),
              replaced("new"))
        << "destroyed";
}

TEST_F(FileCalls, OfReplacingEndWithTheWriteThatFails)
{
    const std::string transcript = calls.record([] {
        ReplacingFile file;
        EXPECT_EQ(file.open(path), 0);
        file << "new";
        file.setstate(std::ios::badbit);
        EXPECT_EQ(file.finish(), 1);
    });

    EXPECT_EQ(transcript, written("new"));
}

TEST_F(FileCalls, OfReplacingEndWithTheRenameThatFails)
{
    fs::remove(path);
    fs::create_directory(path);

    EXPECT_EQ(calls.record([] { replace(-3); }),
              written("new") + synced(temporaryPath) +
                  "rename /appliance/config.json.filsec /appliance/config.json = EISDIR\n");
}

TEST_F(FileCalls, OfReplacingCloseWhatCannotBeSynced)
{
    const auto notSynced = [](const std::string& name) {
        return "open " + name + syncFlags + "\nfsync " + name + " = EIO\nclose " + name + "\n";
    };
    calls.syncs = false;

    EXPECT_EQ(calls.record([] { replace(); }), written("new") + notSynced(temporaryPath) + renamed +
                                                   notSynced(path) + notSynced(directory + "/"));
}

std::string notOpened(const std::string& name)
{
    return "open " + name + syncFlags + " = EACCES\n";
}

TEST_F(FileCalls, OfReplacingSkipWhatCannotBeOpenedForSyncing)
{
    EXPECT_EQ(calls.record([] {
        ReplacingFile file;
        EXPECT_EQ(file.open(path), 0);
        file << "new";
        const Calls::Inside inside;
        EXPECT_EQ(chmod(temporaryPath.c_str(), 0200), 0);
    }),
              written("new") + notOpened(temporaryPath) + renamed + notOpened(path) +
                  synced(directory + "/"));
}

// The file may be written all the same: it is open already.
TEST_F(FileCalls, OfReplacingSyncNoFileThatTheUmaskForbidsToRead)
{
    for (const mode_t mask : {0400U, 0777U}) {
        SCOPED_TRACE(mask);
        const mode_t maskBefore = umask(mask);
        const std::string transcript = calls.record([] { replace(); });
        umask(maskBefore);

        EXPECT_EQ(transcript, written("new") + notOpened(temporaryPath) + renamed +
                                  notOpened(path) + synced(directory + "/"));
    }
}

TEST_F(FileCalls, OfReplacingSyncNoDirectoryThatMayNotBeRead)
{
    ASSERT_EQ(chmod(directory.c_str(), 0333), 0);
    const std::string transcript = calls.record([] { replace(); });
    ASSERT_EQ(chmod(directory.c_str(), 0755), 0);

    EXPECT_EQ(transcript, written("new") + synced(temporaryPath) + renamed + synced(path) +
                              notOpened(directory + "/"));
}

TEST_F(FileCalls, OfReplacingSyncADescriptorThatIsZeroToo)
{
    const StandardInputClosed freed;

    EXPECT_EQ(calls.record([] { replace(); }), replaced("new"));
}

TEST_F(FileCalls, OfOpeningFinishTheFileThatIsOpen)
{
    EXPECT_EQ(calls.record([] {
        ReplacingFile file;
        EXPECT_EQ(file.open(path), 0);
        file << "one";
        EXPECT_EQ(file.open("/appliance/other"), 0);
        file.setstate(std::ios::failbit);
    }),
              replaced("one") + "fopen /appliance/other.filsec wb\n"
                                "fclose /appliance/other.filsec\n");
}

TEST_F(FileCalls, OfAnObjectThatIsNeverOpenedAreNone)
{
    EXPECT_EQ(calls.record([] {
        ReplacingFile file;
        EXPECT_EQ(file.finish(), 0);
    }),
              "");
}

}  // namespace
