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
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

namespace {

const std::string decoderFile = "/config/DECODER";
const std::string encoderFile = "/config/ENCODER";

/// Detects any of these events (inotify(7)) on a file.
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

struct Files {
    const char* name;
    std::function<void()> make;
    Mode mode;
};

void PrintTo(const Files& row, std::ostream* out)
{
    *out << row.name;
}

class MarkerFilesThere : public MarkerFiles, public testing::WithParamInterface<Files> {};

TEST_P(MarkerFilesThere, SelectTheMode)
{
    GetParam().make();
    EXPECT_EQ(probeMarkerFiles(), GetParam().mode);
}

const Files files[] = {
    {"None", [] {}, noMode},
    {"Decoder", [] { writeFile(decoderFile, ""); }, decoder},
    {"Encoder", [] { writeFile(encoderFile, ""); }, encoder},
    {"Both",
     [] {
         writeFile(decoderFile, "");
         writeFile(encoderFile, "");
     },
     decoder},
    {"ContentsThatNameTheOtherMode",
     [] {
         writeFile(decoderFile, "ENCODER\n");
         writeFile(encoderFile, "0");
     },
     decoder},
    {"EncoderWithContents", [] { writeFile(encoderFile, "DECODER 0 false"); }, encoder},
    {"DecoderADirectory", [] { fs::create_directory(decoderFile); }, decoder},
    {"EncoderADirectory", [] { fs::create_directory(encoderFile); }, encoder},
    {"DecoderNotReadable", [] { makeUnreadable(decoderFile); }, noMode},
    {"EncoderNotReadable", [] { makeUnreadable(encoderFile); }, noMode},
    {"DecoderNotReadableAndEncoder",
     [] {
         makeUnreadable(decoderFile);
         writeFile(encoderFile, "");
     },
     encoder},
    {"DecoderAndEncoderNotReadable",
     [] {
         writeFile(decoderFile, "");
         makeUnreadable(encoderFile);
     },
     decoder},
    {"DecoderADanglingLink", [] { fs::create_symlink("missing", decoderFile); }, noMode},
    {"DecoderADanglingLinkAndEncoder",
     [] {
         fs::create_symlink("missing", decoderFile);
         writeFile(encoderFile, "");
     },
     encoder},
    {"EncoderADanglingLink", [] { fs::create_symlink("missing", encoderFile); }, noMode},
    {"DecoderALinkToAnotherFile",
     [] {
         writeFile("/config/other", "");
         fs::create_symlink("other", decoderFile);
     },
     decoder},
    {"LowerCaseNames",
     [] {
         writeFile("/config/decoder", "");
         writeFile("/config/encoder", "");
     },
     noMode},
    {"LongerNames",
     [] {
         writeFile("/config/DECODER.old", "");
         writeFile("/config/ENCODER~", "");
     },
     noMode},
};

INSTANTIATE_TEST_SUITE_P(, MarkerFilesThere, testing::ValuesIn(files),
                         [](const auto& row) { return row.param.name; });

TEST_F(MarkerFiles, AreNoneInADirectoryThatCannotBeEntered)
{
    writeFile(decoderFile, "");
    writeFile(encoderFile, "");
    ASSERT_EQ(chmod("/config", 0600), 0);
    EXPECT_EQ(probeMarkerFiles(), noMode);
    ASSERT_EQ(chmod("/config", 0755), 0);
    EXPECT_EQ(probeMarkerFiles(), decoder);
}

TEST_F(MarkerFiles, LeaveEncoderUnopenedIfDecoderExists)
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
