// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "gpio/GpioLine.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/appliance/StandardInputClosed.h"
#include "tests/unit/gpio/GpioLineFixture.h"

namespace fs = std::filesystem;

namespace {

static_assert(std::has_virtual_destructor_v<GpioLine>);
static_assert(!std::is_copy_constructible_v<GpioLine> && !std::is_copy_assignable_v<GpioLine>);

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

const std::string unexported = "look for unexport\nwrite unexport \"17\"\n";

class GpioLineLifecycle : public GpioLineFixture {
protected:
    /// Opens a line, as an output or as an input.
    void open(GpioLine& handle, std::int32_t request, std::int32_t number = 17)
    {
        effects.record([&] { ASSERT_TRUE(handle.init(number, request)); });
    }

    std::string effectsOfClose()
    {
        return effectsOf([this] {
            line.close();
            return true;
        });
    }

    std::string effectsOfRelease()
    {
        return effectsOf([this] {
            line.release();
            return true;
        });
    }
};

TEST_F(GpioLineLifecycle, BeginsWithoutALineAndWithoutAnEffect)
{
    EXPECT_EQ(effects.record([] { const GpioLine never; }), "");
    EXPECT_EQ(line.lastValue(), 0);
    EXPECT_EQ(line.currentMode(), 0);
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(effectsOfClose(), succeeds(0, 0));
    EXPECT_EQ(effectsOfRelease(), succeeds(0, 0));
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
    auto handle = std::make_unique<CountingLine>();
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
    for (const std::int32_t number : {18, 17, 18}) {
        SCOPED_TRACE(number);
        open(line, 0, number == 18 ? 17 : 18);
        const int before = descriptor();
        effects.before = [before](const std::string& effect) {
            if (effect.starts_with("look for ")) {
                EXPECT_FALSE(isOpen(before));
            }
            return 0;
        };

        EXPECT_NE(effectsOf([&] { return line.init(number, 1); }).find(succeeds(1, 1)),
                  std::string::npos);
        EXPECT_EQ(line.readValue(), number == 18 ? 1 : 0);
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
    EXPECT_EQ(effectsOfRelease(), succeeds(0, 0));
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

    EXPECT_EQ(effectsOfClose(), succeeds(1, 0));
    EXPECT_FALSE(isOpen(descriptor()));
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(effectsOfRelease(), succeeds(1, 0));
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

TEST_F(GpioLineLifecycle, ForgetsALineWhoseDescriptorCannotBeClosed)
{
    open(line, -1);
    ::close(descriptor());

    EXPECT_EQ(effectsOfClose(), "close gpio17/value: EBADF\n" + succeeds(0, 0));
    EXPECT_EQ(effectsOfRelease(), succeeds(0, 0));
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

    EXPECT_EQ(effectsOfRelease(), "look for unexport\nwrite unexport \"0\"\n" + succeeds(0, 0));
}

TEST_F(GpioLineLifecycle, ClosesTheLineWhenItCannotBeUnexported)
{
    replaceByDirectory(root + "unexport");
    open(line, 0);

    EXPECT_EQ(effectsOfRelease(), "look for unexport: EISDIR\n" + succeeds(0, 0));
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
