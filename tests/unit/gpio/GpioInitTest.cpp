// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/gpio/GpioLineFixture.h"

namespace fs = std::filesystem;

namespace {

struct Row {
    const char* name;
    std::function<void()> arrange;
    std::int32_t request;
    std::string expected;  ///< the effects and the result
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

class GpioLineInit : public GpioLineFixture {
protected:
    /// Makes line 17 appear just before this attempt to open its value file.
    void makeLineBefore(int attempt)
    {
        effects.before = [attempt, count = 0](const std::string& effect) mutable {
            if (effect == "look for " + valueFile && ++count == attempt) {
                makeLine(17);
            }
            return 0;
        };
    }
};

class GpioLineInitRow : public GpioLineInit, public testing::WithParamInterface<Row> {
protected:
    ~GpioLineInitRow() override { chmod(lineDirectory.c_str(), 0755); }
};

TEST_P(GpioLineInitRow, HasTheseEffects)
{
    GetParam().arrange();

    EXPECT_EQ(effectsOf([this] { return line.init(17, GetParam().request); }), GetParam().expected);
}

const auto asItIs = [] {};

const std::string directionRead = "look for gpio17/direction\nread gpio17/direction ";

const Row rows[] = {
    {"Input", asItIs, -1, present + opened + madeInput + "true, value 0, mode -1\n"},
    {"AnyNegativeRequest", asItIs, lowest,
     present + opened + madeInput + "true, value 0, mode -1\n"},
    {"OutputThatStartsLow", asItIs, 0,
     present + opened + directionWritten("low") + "true, value 0, mode 1\n"},
    {"OutputThatStartsHigh", asItIs, 1,
     present + opened + directionWritten("high") + "true, value 1, mode 1\n"},
    {"OutputThatWasAnInput", asItIs, 2,
     present + opened + directionRead + "\"in\\n\"\n" + directionWritten("high") +
         "true, value 1, mode 1\n"},
    {"OutputAsItWas", [] { writeFile(directionFile, "out\n"); }, highest,
     present + opened + directionRead + "\"out\\n\"\n" + lowRead + "true, value 0, mode 1\n"},
    {"NeedsNoExportFile", [] { fs::remove(root + "export"); }, -1,
     present + opened + madeInput + "true, value 0, mode -1\n"},
    {"ValueOneByteShort", [] { writeFile(valueFile, "1"); }, -1,
     present + opened + directionWritten("in") + "read gpio17/value \"1\"\n" +
         "true, value -1, mode -1\n"},
    {"APlainFileHasItsName",
     [] {
         fs::remove_all(lineDirectory);
         writeFile(lineDirectory, "");
     },
     -1,
     "look for gpio17: ENOTDIR\nlook for export\nwrite export \"17\"\n" +
         times(11, "wait 0.020000000\nlook for gpio17/value: ENOTDIR\n") +
         "false, value 0, mode 0\n"},
    {"DirectoryMayNotBeRead", [] { chmod(lineDirectory.c_str(), 0311); }, -1,
     "look for gpio17: EACCES\nlook for export\nwrite export \"17\"\n" + opened + madeInput +
         "true, value 0, mode -1\n"},
    {"NoGpioFiles", [] { fs::remove_all(root); }, -1,
     "look for gpio17: ENOENT\ncreate export: ENOENT\nfalse, value 0, mode 0\n"},
    {"ExportIsADirectory",
     [] {
         fs::remove_all(lineDirectory);
         replaceByDirectory(root + "export");
     },
     -1, "look for gpio17: ENOENT\nlook for export: EISDIR\nfalse, value 0, mode 0\n"},
    {"ExportIsReadOnly",
     [] {
         fs::remove_all(lineDirectory);
         chmod((root + "export").c_str(), 0444);
     },
     -1, "look for gpio17: ENOENT\nlook for export: EACCES\nfalse, value 0, mode 0\n"},
    {"NeverAppears", [] { fs::remove_all(lineDirectory); }, 0,
     exported + times(11, notOpened) + "false, value 0, mode 0\n"},
    {"ValueMayNotBeWritten", [] { chmod(valueFile.c_str(), 0444); }, -1,
     present + times(11, "wait 0.020000000\nlook for gpio17/value: EACCES\n") +
         "false, value 0, mode 0\n"},
    {"DirectionIsRefused", [] { replaceByDirectory(directionFile); }, -1,
     present + opened + "look for gpio17/direction: EISDIR\nfalse, value 0, mode 0\n"},
};

INSTANTIATE_TEST_SUITE_P(, GpioLineInitRow, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

// Twenty milliseconds before each of eleven attempts.
TEST_F(GpioLineInit, OpensALineThatAppearsBeforeAnyAttempt)
{
    for (int appearance = 1; appearance <= 12; ++appearance) {
        SCOPED_TRACE(appearance);
        line.close();
        fs::remove_all(lineDirectory);
        writeFile(root + "export", "");
        makeLineBefore(appearance);

        EXPECT_EQ(effectsOf([this] { return line.init(17, -1); }),
                  appearance <= 11 ? exported + times(appearance - 1, notOpened) + opened +
                                         madeInput + succeeds(0, -1)
                                   : exported + times(11, notOpened) + fails(0, 0));
    }
}

// No error ends the attempts, and each of them counts.
TEST_F(GpioLineInit, TriesAgainAfterAnyError)
{
    for (const int error : {EPERM, ENOENT, EINTR, EIO, ENXIO, EAGAIN, EACCES, EBUSY, ENODEV, EINVAL,
                            EMFILE, ETXTBSY}) {
        for (const int failures : {10, 11}) {
            const std::string name = strerrorname_np(error);
            SCOPED_TRACE(name + " " + std::to_string(failures));
            line.close();
            effects.before = [=, count = 0](const std::string& effect) mutable {
                return effect == "look for " + valueFile && ++count <= failures ? error : 0;
            };
            const std::string failed = "wait 0.020000000\nlook for gpio17/value: " + name + "\n";

            EXPECT_EQ(effectsOf([this] { return line.init(17, -1); }),
                      present + times(failures, failed) +
                          (failures == 10 ? opened + madeInput + succeeds(0, -1) : fails(0, 0)));
        }
    }
}

// As for a line that a driver holds: write(2) fails with EBUSY, at the close of the stream.
TEST_F(GpioLineInit, TriesToOpenALineWhoseExportFailsOnlyAtTheClose)
{
    emptyDirectory(root);
    fs::create_symlink("/dev/full", root + "export");
    makeLineBefore(1);

    EXPECT_EQ(effectsOf([this] { return line.init(17, -1); }),
              "look for gpio17: ENOENT\nlook for export\nwrite export: ENOSPC\n" + opened +
                  madeInput + succeeds(0, -1));
}

TEST_F(GpioLineInit, OpensTheValueFileForReadingAndWritingAndNoMore)
{
    effectsOf([this] { return line.init(17, -1); });

    ASSERT_EQ(effects.openings.size(), 3U);
    EXPECT_EQ(effects.openings[1].path, valueFile);
    EXPECT_EQ(effects.openings[1].flags, O_RDWR);
}

TEST_F(GpioLineInit, ExportsALineOfAnyNumber)
{
    for (const std::int32_t number : {0, 5, 512, highest, -5}) {
        SCOPED_TRACE(number);
        writeFile(root + "export", "longer than any line number");
        effects.before = [number](const std::string& effect) {
            if (effect.ends_with("/value") && effect.starts_with("look for ")) {
                makeLine(number, "1\n");
            }
            return 0;
        };

        effectsOf([&] { return line.init(number, -1); });
        EXPECT_EQ(readFile(root + "export"), std::to_string(number));
        EXPECT_EQ(line.readValue(), 1);
        EXPECT_EQ(line.currentMode(), -1);
    }
}

}  // namespace
