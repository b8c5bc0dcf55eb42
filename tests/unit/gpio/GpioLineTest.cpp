// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "gpio/GpioLine.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>

#include "tests/appliance/Files.h"
#include "tests/appliance/StandardInputClosed.h"
#include "tests/unit/gpio/GpioLineFixture.h"

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

/// Never closes its descriptor.
class KeepingLine : public GpioLine {
public:
    void close() override {}
};

class GpioLineLifecycle : public GpioLineFixture {};

// Construction and destruction

TEST_F(GpioLineLifecycle, IsMadeWithoutALineAndWithoutTouchingAFile)
{
    const Watch watch({root, lineDirectory});
    {
        const GpioLine line;
        EXPECT_EQ(line.lastValue(), 0);
        EXPECT_EQ(line.currentMode(), 0);
    }
    EXPECT_FALSE(watch.sawAccess());
}

TEST_F(GpioLineLifecycle, ClosesTheValueFileWhenDestroyedAndLeavesTheLineAsItIs)
{
    {
        const std::unique_ptr<GpioLine> line = std::make_unique<CountingLine>();
        ASSERT_TRUE(line->init(17, 1));
        ASSERT_TRUE(isOpen(calls.descriptor));
    }
    EXPECT_FALSE(isOpen(calls.descriptor));
    EXPECT_EQ(readFile(root + "unexport"), "");
    EXPECT_EQ(readFile(directionFile), "high");
}

// From one line to the next

TEST_F(GpioLineLifecycle, ReturnsAtOnceWhenTheLineIsOpenAlready)
{
    writeFile(valueFile, "1\n");
    CountingLine line;
    ASSERT_TRUE(line.init(17, -1));
    const int descriptor = calls.descriptor;
    line.closes = 0;
    const Watch watch({root, lineDirectory});

    EXPECT_TRUE(line.init(17, 0));
    EXPECT_FALSE(watch.sawAccess());
    EXPECT_EQ(calls.openFlags.size(), 1U);
    EXPECT_EQ(line.closes, 0);
    EXPECT_TRUE(isOpen(descriptor));
    EXPECT_EQ(line.currentMode(), -1);
    EXPECT_EQ(line.lastValue(), 1);
    EXPECT_EQ(readFile(directionFile), "in");
}

TEST_F(GpioLineLifecycle, ClosesTheLineThatWasOpenBeforeItOpensAnother)
{
    makeLine(18, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    const int before = calls.descriptor;
    calls.beforeOpen = [before](std::size_t /*attempt*/) { EXPECT_FALSE(isOpen(before)); };

    EXPECT_TRUE(line.init(18, -1));
    EXPECT_EQ(line.readValue(), 1);
    EXPECT_EQ(line.currentMode(), -1);
    EXPECT_EQ(readFile(root + "gpio18/direction"), "in");
    EXPECT_EQ(readFile(directionFile), "low");
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineLifecycle, ClosesALineAlsoForOneOfALowerNumber)
{
    makeLine(18, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(18, -1));

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_EQ(line.readValue(), 0);
    EXPECT_EQ(calls.openFlags.size(), 2U);
}

TEST_F(GpioLineLifecycle, HasNoLineAfterAnotherOneFailed)
{
    replaceByDirectory(root + "export");
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    const int before = calls.descriptor;

    EXPECT_FALSE(line.init(18, -1));
    EXPECT_FALSE(isOpen(before));
    EXPECT_EQ(line.currentMode(), 0);
    EXPECT_EQ(line.readValue(), -1);
    line.release();
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineLifecycle, OpensALineAgainAfterItWasClosed)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    line.close();

    EXPECT_TRUE(line.init(17, 1));
    EXPECT_EQ(calls.openFlags.size(), 2U);
    EXPECT_EQ(readFile(directionFile), "high");
}

TEST_F(GpioLineLifecycle, ClosesTheValueFileWhenTheDirectionFails)
{
    for (const std::int32_t request : {-1, 0, 1, 2}) {
        SCOPED_TRACE(request);
        replaceByDirectory(directionFile);
        CountingLine line;

        EXPECT_FALSE(line.init(17, request));
        EXPECT_FALSE(isOpen(calls.descriptor));
        EXPECT_EQ(line.closes, 2);
        EXPECT_EQ(line.currentMode(), 0);
        EXPECT_EQ(line.lastValue(), 0);
        EXPECT_EQ(line.readValue(), -1);
    }
}

TEST_F(GpioLineLifecycle, ClosesThroughADerivedClassInInit)
{
    makeLine(18);
    KeepingLine line;
    ASSERT_TRUE(line.init(17, 0));
    const int kept = calls.descriptor;

    EXPECT_TRUE(line.init(18, 0));
    EXPECT_TRUE(isOpen(kept));
    ASSERT_EQ(::close(kept), 0);
}

// A line that was never opened has the number -1 too; only the descriptor differs.
TEST_F(GpioLineLifecycle, DoesNotTakeLineMinusOneForOpen)
{
    makeLine(-1, "1\n");
    CountingLine line;

    EXPECT_TRUE(line.init(-1, -1));
    EXPECT_EQ(line.closes, 1);
    EXPECT_EQ(line.readValue(), 1);
    EXPECT_TRUE(line.init(-1, 0));
    EXPECT_EQ(calls.openFlags.size(), 1U);
    line.release();
    EXPECT_EQ(readFile(root + "unexport"), "");
    EXPECT_EQ(line.closes, 2);
}

// close and release

TEST_F(GpioLineLifecycle, ForgetsTheLineWhenClosed)
{
    writeFile(valueFile, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));

    line.close();
    EXPECT_FALSE(isOpen(calls.descriptor));
    EXPECT_EQ(line.currentMode(), 0);
    EXPECT_EQ(line.lastValue(), 1);
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineLifecycle, ForgetsTheDescriptorWhenClosed)
{
    int reused = -1;
    {
        GpioLine line;
        ASSERT_TRUE(line.init(17, -1));
        const int before = calls.descriptor;
        line.close();
        reused = ::open(directionFile.c_str(), O_RDONLY);
        ASSERT_EQ(reused, before);

        EXPECT_EQ(line.readValue(), -1);
        line.close();
        EXPECT_TRUE(isOpen(reused));
    }
    EXPECT_TRUE(isOpen(reused));
    ::close(reused);
}

TEST_F(GpioLineLifecycle, DoesNotTakeDescriptorZeroForItsOwnOnceClosed)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    line.close();
    const StandardInputClosed freed;
    writeFile(valueFile, "1\n");
    ASSERT_EQ(::open(valueFile.c_str(), O_RDWR), 0);

    EXPECT_EQ(line.readValue(), -1);
    EXPECT_FALSE(line.writeLevel(0));
    EXPECT_EQ(readFile(valueFile), "1\n");
}

TEST_F(GpioLineLifecycle, MayBeClosedWithoutALine)
{
    GpioLine line;

    line.close();
    line.close();
    EXPECT_EQ(line.currentMode(), 0);
    EXPECT_TRUE(line.init(17, -1));
}

TEST_F(GpioLineLifecycle, UnexportsTheLineAndThenClosesItWhenReleased)
{
    writeFile(root + "unexport", "earlier contents");
    CountingLine line;
    ASSERT_TRUE(line.init(17, 0));
    line.closes = 0;
    line.whenClosed = [this] {
        EXPECT_EQ(readFile(root + "unexport"), "17");
        EXPECT_TRUE(isOpen(calls.descriptor));
    };

    line.release();
    EXPECT_EQ(line.closes, 1);
    EXPECT_FALSE(isOpen(calls.descriptor));
    EXPECT_EQ(line.currentMode(), 0);
    EXPECT_EQ(readFile(root + "unexport"), "17");
}

TEST_F(GpioLineLifecycle, UnexportsLineZeroToo)
{
    makeLine(0);
    GpioLine line;
    ASSERT_TRUE(line.init(0, 0));

    line.release();
    EXPECT_EQ(readFile(root + "unexport"), "0");
}

TEST_F(GpioLineLifecycle, ClosesOnlyWhenReleasedWithoutALine)
{
    CountingLine line;

    line.release();
    EXPECT_EQ(line.closes, 1);
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineLifecycle, UnexportsOnceWhenReleasedTwice)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    line.release();
    writeFile(root + "unexport", "");

    line.release();
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineLifecycle, ClosesTheLineWhenItCannotBeUnexported)
{
    replaceByDirectory(root + "unexport");
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));

    line.release();
    EXPECT_FALSE(isOpen(calls.descriptor));
    EXPECT_EQ(line.currentMode(), 0);
}

// Descriptor 0, which is never closed; that is intended.

TEST_F(GpioLineLifecycle, IsNotClosedWhenItsDescriptorIsZero)
{
    const StandardInputClosed freed;
    writeFile(valueFile, "1\n");
    {
        GpioLine line;
        ASSERT_TRUE(line.init(17, -1));
        ASSERT_EQ(calls.descriptor, 0);

        line.close();
        EXPECT_TRUE(isOpen(0));
        EXPECT_EQ(line.currentMode(), -1);
        EXPECT_EQ(line.readValue(), 1);
        EXPECT_TRUE(line.init(17, 0));
        EXPECT_EQ(calls.openFlags.size(), 1U);
        EXPECT_EQ(line.currentMode(), -1);
    }
    EXPECT_TRUE(isOpen(0));
}

TEST_F(GpioLineLifecycle, UnexportsAndKeepsTheLineWhenReleasedWithDescriptorZero)
{
    const StandardInputClosed freed;
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    ASSERT_EQ(calls.descriptor, 0);

    line.release();
    EXPECT_EQ(readFile(root + "unexport"), "17");
    EXPECT_TRUE(isOpen(0));
    EXPECT_EQ(line.currentMode(), 1);
}

TEST_F(GpioLineLifecycle, GoesOnToAnotherLineWhenItsDescriptorIsZero)
{
    const StandardInputClosed freed;
    makeLine(18, "1\n");
    {
        GpioLine line;
        ASSERT_TRUE(line.init(17, 0));
        ASSERT_EQ(calls.descriptor, 0);

        EXPECT_TRUE(line.init(18, -1));
        EXPECT_GT(calls.descriptor, 0);
        EXPECT_TRUE(isOpen(0));
        EXPECT_EQ(line.readValue(), 1);
    }
    EXPECT_TRUE(isOpen(0));
    EXPECT_FALSE(isOpen(calls.descriptor));
}

TEST_F(GpioLineLifecycle, KeepsTheLineOfDescriptorZeroWhenAnotherOneFails)
{
    const StandardInputClosed freed;
    replaceByDirectory(root + "export");
    writeFile(valueFile, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    ASSERT_EQ(calls.descriptor, 0);

    EXPECT_FALSE(line.init(18, 0));
    EXPECT_EQ(line.currentMode(), -1);
    EXPECT_EQ(line.readValue(), 1);
}

}  // namespace
