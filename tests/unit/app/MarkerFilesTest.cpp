// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/MarkerFiles.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

namespace {

const std::string decoderFile = "/config/DECODER";
const std::string encoderFile = "/config/ENCODER";

/// Whether one of these events (inotify(7)) happens to a file while the object lives.
class Watch {
public:
    Watch(const std::string& path, std::uint32_t events)
        : fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        works = inotify_add_watch(fd, path.c_str(), events) >= 0;
    }

    ~Watch() { close(fd); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    [[nodiscard]] bool watches() const { return works; }

    [[nodiscard]] bool happened() const
    {
        alignas(inotify_event) char events[4096];
        return read(fd, events, sizeof events) > 0;
    }

private:
    int fd;
    bool works;
};

class MarkerFiles : public testing::Test {
protected:
    MarkerFiles() { emptyDirectory("/config"); }
};

void makeUnreadable(const std::string& path)
{
    writeFile(path, "");
    chmod(path.c_str(), 0);
}

TEST_F(MarkerFiles, AskForAModeByBeingThere)
{
    struct Row {
        const char* name;
        std::function<void()> make;
        Mode mode;
    };
    const Row rows[] = {
        {"none", [] {}, noMode},
        {"DECODER", [] { writeFile(decoderFile, ""); }, decoder},
        {"ENCODER", [] { writeFile(encoderFile, ""); }, encoder},
        {"both",
         [] {
             writeFile(decoderFile, "");
             writeFile(encoderFile, "");
         },
         decoder},
        {"contents that say otherwise",
         [] {
             writeFile(decoderFile, "ENCODER\n");
             writeFile(encoderFile, "0");
         },
         decoder},
        {"ENCODER with contents", [] { writeFile(encoderFile, "DECODER 0 false"); }, encoder},
        {"folder DECODER", [] { fs::create_directory(decoderFile); }, decoder},
        {"folder ENCODER", [] { fs::create_directory(encoderFile); }, encoder},
        {"DECODER not readable", [] { makeUnreadable(decoderFile); }, noMode},
        {"ENCODER not readable", [] { makeUnreadable(encoderFile); }, noMode},
        {"DECODER not readable, ENCODER there",
         [] {
             makeUnreadable(decoderFile);
             writeFile(encoderFile, "");
         },
         encoder},
        {"DECODER there, ENCODER not readable",
         [] {
             writeFile(decoderFile, "");
             makeUnreadable(encoderFile);
         },
         decoder},
        {"DECODER a dangling link", [] { fs::create_symlink("missing", decoderFile); }, noMode},
        {"DECODER a dangling link, ENCODER there",
         [] {
             fs::create_symlink("missing", decoderFile);
             writeFile(encoderFile, "");
         },
         encoder},
        {"ENCODER a dangling link", [] { fs::create_symlink("missing", encoderFile); }, noMode},
        {"DECODER a link to another file",
         [] {
             writeFile("/config/other", "");
             fs::create_symlink("other", decoderFile);
         },
         decoder},
        {"names in small letters",
         [] {
             writeFile("/config/decoder", "");
             writeFile("/config/encoder", "");
         },
         noMode},
        {"longer names",
         [] {
             writeFile("/config/DECODER.old", "");
             writeFile("/config/ENCODER~", "");
         },
         noMode},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        emptyDirectory("/config");
        row.make();
        EXPECT_EQ(probeMarkerFiles(), row.mode);
    }
}

TEST_F(MarkerFiles, AreNoneInAFolderThatCannotBeEntered)
{
    writeFile(decoderFile, "");
    writeFile(encoderFile, "");
    ASSERT_EQ(chmod("/config", 0600), 0);
    EXPECT_EQ(probeMarkerFiles(), noMode);
    ASSERT_EQ(chmod("/config", 0755), 0);
    EXPECT_EQ(probeMarkerFiles(), decoder);
}

TEST_F(MarkerFiles, LeaveEncoderUnopenedWhereDecoderIsThere)
{
    writeFile(decoderFile, "");
    writeFile(encoderFile, "");
    const Watch watch(encoderFile, IN_OPEN);
    ASSERT_TRUE(watch.watches());
    EXPECT_EQ(probeMarkerFiles(), decoder);
    EXPECT_FALSE(watch.happened());
    fs::remove(decoderFile);
    EXPECT_EQ(probeMarkerFiles(), encoder);
    EXPECT_TRUE(watch.happened());
}

TEST_F(MarkerFiles, AreNotRead)
{
    for (const std::string& path : {encoderFile, decoderFile}) {
        SCOPED_TRACE(path);
        writeFile(path, "contents");
        const Watch watch(path, IN_ACCESS | IN_MODIFY);
        ASSERT_TRUE(watch.watches());
        EXPECT_NE(probeMarkerFiles(), noMode);
        EXPECT_FALSE(watch.happened());
        EXPECT_EQ(readFile(path), "contents");
        EXPECT_TRUE(watch.happened());
    }
}

TEST_F(MarkerFiles, AreClosedAfterTheProbe)
{
    const std::vector<std::string> before = namesIn("/proc/self/fd");
    ASSERT_FALSE(before.empty());
    EXPECT_EQ(probeMarkerFiles(), noMode);
    EXPECT_EQ(namesIn("/proc/self/fd"), before) << "none";
    writeFile(encoderFile, "");
    EXPECT_EQ(probeMarkerFiles(), encoder);
    EXPECT_EQ(namesIn("/proc/self/fd"), before) << "ENCODER";
    writeFile(decoderFile, "");
    EXPECT_EQ(probeMarkerFiles(), decoder);
    EXPECT_EQ(namesIn("/proc/self/fd"), before) << "both";
}

}  // namespace
