// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "gpio/GpioLine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/appliance/StandardInputClosed.h"
#include "tests/unit/gpio/GpioLineFixture.h"

namespace fs = std::filesystem;

// How a line is opened, closed and released.
namespace {

static_assert(std::has_virtual_destructor_v<GpioLine>);
static_assert(!std::is_copy_constructible_v<GpioLine> && !std::is_copy_assignable_v<GpioLine>);

const std::string exported = "look for gpio17: ENOENT\n"
                             "look for export\n"
                             "write export \"17\"\n";

std::string times(int count, const std::string& text)
{
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

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

const Row rows[] = {
    {"AnyNegativeRequest", asItIs, lowest, present + opened + madeInput + succeeds(0, -1)},
    {"OutputThatStartsLow", asItIs, 0, present + opened + directionWritten("low") + succeeds(0, 1)},
    {"OutputThatStartsHigh", asItIs, 1,
     present + opened + directionWritten("high") + succeeds(1, 1)},
    {"OutputAsItWas", [] { writeFile(directionFile, "out\n"); }, highest,
     present + opened + "look for gpio17/direction\nread gpio17/direction \"out\\n\"\n" + lowRead +
         succeeds(0, 1)},
    {"ValueOneByteShort", [] { writeFile(valueFile, "1"); }, -1,
     present + opened + directionWritten("in") + "read gpio17/value \"1\"\n" + succeeds(-1, -1)},
    {"DirectoryMayNotBeRead", [] { chmod(lineDirectory.c_str(), 0311); }, -1,
     "look for gpio17: EACCES\nlook for export\nwrite export \"17\"\n" + opened + madeInput +
         succeeds(0, -1)},
    {"NoGpioFiles", [] { fs::remove_all(root); }, -1,
     "look for gpio17: ENOENT\ncreate export: ENOENT\n" + fails(0, 0)},
    {"ExportIsReadOnly",
     [] {
         fs::remove_all(lineDirectory);
         chmod((root + "export").c_str(), 0444);
     },
     -1, "look for gpio17: ENOENT\nlook for export: EACCES\n" + fails(0, 0)},
};

INSTANTIATE_TEST_SUITE_P(, GpioLineInitRow, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

// Twenty milliseconds before each of eleven attempts.
TEST_F(GpioLineInit, OpensALineThatAppearsBeforeAnyAttempt)
{
    const std::string notOpened = "wait 0.020000000\nlook for gpio17/value: ENOENT\n";
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

/// Counts the calls of the virtual close.
class CountingLine : public GpioLine {
public:
    void close() override
    {
        ++closes;
        whenClosed();
        GpioLine::close();
    }

    int closes = 0;
    std::function<void()> whenClosed = [] {};
};

class GpioLineLifecycle : public GpioLineFixture {
protected:
    /// Opens a line, as an output or as an input.
    void open(GpioLine& handle, std::int32_t request, std::int32_t number = 17)
    {
        effects.record([&] { ASSERT_TRUE(handle.init(number, request)); });
    }
};

TEST_F(GpioLineLifecycle, BeginsWithoutALineAndWithoutAnEffect)
{
    EXPECT_EQ(effects.record([] { const GpioLine never; }), "");
    EXPECT_EQ(effectsOf([this] { return line.readValue() != -1; }), fails(0, 0));
    EXPECT_EQ(effectsOf([this] { line.close(); }), succeeds(0, 0));
    EXPECT_EQ(effectsOf([this] { line.release(); }), succeeds(0, 0));
}

// That fails, and does no harm.
TEST_F(GpioLineLifecycle, ClosesTheDescriptorMinusOneWithoutALine)
{
    effects.record([] {
        GpioLine never;
        never.close();
    });
    EXPECT_EQ(effects.closings, (std::vector<int>{-1, -1}));
    open(line, -1);
    effects.closings.clear();
    line.close();
    effects.record([this] { line.close(); });
    EXPECT_EQ(effects.closings, std::vector<int>{-1});
}

TEST_F(GpioLineLifecycle, EndsWithTheValueFileClosedAndTheLineAsItIs)
{
    auto handle = std::make_unique<GpioLine>();
    open(*handle, 1);
    ASSERT_TRUE(isOpen(descriptor()));

    EXPECT_EQ(effects.record([&] { handle.reset(); }), "");
    EXPECT_FALSE(isOpen(descriptor()));
    EXPECT_EQ(readFile(directionFile), "high");
}

// From one line to the next

TEST_F(GpioLineLifecycle, StaysAsItIsWhenTheOpenLineIsInitialised)
{
    CountingLine handle;
    open(handle, -1);
    handle.closes = 0;

    EXPECT_EQ(effects.record([&] { EXPECT_TRUE(handle.init(17, 0)); }), "");
    EXPECT_EQ(handle.closes, 0);
    EXPECT_EQ(handle.currentMode(), -1);
    EXPECT_TRUE(isOpen(descriptor()));
}

TEST_F(GpioLineLifecycle, ClosesOneLineBeforeItOpensAnother)
{
    makeLine(18, "1\n");
    open(line, 0);
    for (const std::int32_t number : {18, 17, 18}) {
        SCOPED_TRACE(number);
        const int before = descriptor();
        effects.before = [before](const std::string& effect) {
            EXPECT_TRUE(!effect.starts_with("look for ") || !isOpen(before));
            return 0;
        };

        effects.record([&] { EXPECT_TRUE(line.init(number, -1)); });
        effects.before = [](const std::string& /*effect*/) { return 0; };
        EXPECT_EQ(line.lastValue(), number == 18 ? 1 : 0);
    }
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineLifecycle, HasNoLineAfterAnotherOneFailed)
{
    replaceByDirectory(root + "export");
    open(line, 0);

    EXPECT_FALSE(line.init(18, -1));
    EXPECT_FALSE(isOpen(descriptor()));
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(effectsOf([this] { line.release(); }), succeeds(0, 0));
}

// A line that could not be set up is not this object's: release unexports nothing.
TEST_F(GpioLineLifecycle, HasNoLineAfterTheDirectionFailed)
{
    replaceByDirectory(directionFile);
    for (const std::int32_t request : {-1, 0, 1, 2}) {
        SCOPED_TRACE(request);
        CountingLine handle;
        effects.record([&] { EXPECT_FALSE(handle.init(17, request)); });

        EXPECT_FALSE(isOpen(descriptor()));
        EXPECT_EQ(handle.closes, 2);
        EXPECT_EQ(handle.currentMode(), 0);
        EXPECT_EQ(handle.lastValue(), 0);
        EXPECT_EQ(handle.readValue(), -1);
        EXPECT_EQ(effects.record([&] { handle.release(); }), "");
    }
}

// A line that was never opened has the number -1 too; only the descriptor differs.
TEST_F(GpioLineLifecycle, DoesNotTakeLineMinusOneForOpen)
{
    makeLine(-1, "1\n");
    CountingLine handle;
    open(handle, -1, -1);

    EXPECT_EQ(handle.closes, 1);
    EXPECT_EQ(handle.readValue(), 1);
    EXPECT_EQ(effects.record([&] { EXPECT_TRUE(handle.init(-1, 0)); }), "");
    EXPECT_EQ(effects.record([&] { handle.release(); }), "");
    EXPECT_EQ(handle.closes, 2);
}

// close and release

TEST_F(GpioLineLifecycle, ForgetsTheLineWhenClosed)
{
    writeFile(valueFile, "1\n");
    open(line, -1);

    EXPECT_EQ(effectsOf([this] { line.close(); }), succeeds(1, 0));
    EXPECT_FALSE(isOpen(descriptor()));
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(effectsOf([this] { line.release(); }), succeeds(1, 0));
    EXPECT_EQ(effectsOf([this] { return line.init(17, 1); }),
              present + opened + directionWritten("high") + succeeds(1, 1));
}

// Whoever opens a file gets the number that was closed, which may be 0.
TEST_F(GpioLineLifecycle, LeavesADescriptorAloneThatItNoLongerHas)
{
    open(line, -1);
    const int before = descriptor();
    line.close();
    {
        const int reused = ::open(valueFile.c_str(), O_RDWR);
        ASSERT_EQ(reused, before);
        EXPECT_FALSE(line.writeLevel(1));
        line.close();
        EXPECT_TRUE(isOpen(reused));
        ::close(reused);
    }
    const StandardInputClosed freed;
    ASSERT_EQ(::open(valueFile.c_str(), O_RDWR), 0);
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_FALSE(line.writeLevel(1));
}

TEST_F(GpioLineLifecycle, UnexportsALineOnceAndThenClosesItWhenReleased)
{
    CountingLine handle;
    open(handle, 0);
    handle.closes = 0;
    handle.whenClosed = [this] {
        EXPECT_EQ(readFile(root + "unexport"), "17");
        EXPECT_TRUE(isOpen(descriptor()));
    };

    handle.release();
    handle.whenClosed = [] {};
    EXPECT_EQ(handle.closes, 1);
    EXPECT_FALSE(isOpen(descriptor()));
    EXPECT_EQ(handle.currentMode(), 0);
    EXPECT_EQ(effects.record([&] { handle.release(); }), "");
    EXPECT_EQ(handle.closes, 2);
}

TEST_F(GpioLineLifecycle, UnexportsLineZeroToo)
{
    makeLine(0);
    open(line, 0, 0);

    EXPECT_EQ(effectsOf([this] { line.release(); }),
              "look for unexport\nwrite unexport \"0\"\n" + succeeds(0, 0));
}

TEST_F(GpioLineLifecycle, ClosesTheLineWhenItCannotBeUnexported)
{
    replaceByDirectory(root + "unexport");
    open(line, 0);

    EXPECT_EQ(effectsOf([this] { line.release(); }),
              "look for unexport: EISDIR\n" + succeeds(0, 0));
    EXPECT_FALSE(isOpen(descriptor()));
}

// Descriptor 0, which is never closed; that is intended.

TEST_F(GpioLineLifecycle, StaysOpenOnDescriptorZero)
{
    const StandardInputClosed freed;
    {
        GpioLine zero;
        open(zero, 1);
        ASSERT_EQ(descriptor(), 0);

        zero.close();
        EXPECT_EQ(zero.currentMode(), 1);
        EXPECT_EQ(zero.readValue(), 0);
        EXPECT_EQ(effects.record([&] { EXPECT_TRUE(zero.init(17, -1)); }), "");
        EXPECT_NE(effects.record([&] { zero.release(); }), "");
        EXPECT_EQ(zero.currentMode(), 1);
    }
    EXPECT_TRUE(isOpen(0));
}

TEST_F(GpioLineLifecycle, GoesOnFromDescriptorZeroToAnotherLine)
{
    const StandardInputClosed freed;
    makeLine(18, "1\n");
    GpioLine zero;
    open(zero, -1);
    ASSERT_EQ(descriptor(), 0);
    replaceByDirectory(root + "export");

    EXPECT_FALSE(zero.init(19, 0));
    EXPECT_EQ(zero.currentMode(), -1);
    EXPECT_EQ(zero.readValue(), 0);
    open(zero, 0, 18);
    EXPECT_GT(descriptor(), 0);
    EXPECT_TRUE(isOpen(0));
    EXPECT_EQ(zero.readValue(), 1);
}

// The descriptor that is not closed is not forgotten either; the mode is set after the direction.
TEST_F(GpioLineLifecycle, StaysOpenOnDescriptorZeroAfterADirectionThatFails)
{
    replaceByDirectory(directionFile);
    const StandardInputClosed freed;
    GpioLine zero;
    effects.record([&] { EXPECT_FALSE(zero.init(17, 1)); });

    EXPECT_EQ(descriptor(), 0);
    EXPECT_EQ(zero.currentMode(), 0);
    EXPECT_TRUE(zero.disableEdge());
    EXPECT_EQ(readFile(lineDirectory + "/edge"), "none");
}

}  // namespace
