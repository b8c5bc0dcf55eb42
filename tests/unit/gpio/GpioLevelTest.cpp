// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/gpio/GpioLineFixture.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

namespace {

class GpioLineLevel : public GpioLineFixture {};

TEST_F(GpioLineLevel, IsReadFromTheFirstTwoBytes)
{
    struct Row {
        const char* bytes;
        std::int32_t expected;
    };
    const std::vector<Row> rows = {{"1\n", 1}, {"0\n", 0}, {"x\n", 0},         {"10", 1},
                                   {"01", 0},  {"\n1", 0}, {"1 and more", 1},  {"2\n", 0},
                                   {"", -1},   {"1", -1},  {"0\n and more", 0}};
    ASSERT_TRUE(line.init(17, -1));
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.bytes));
        for (const std::int32_t before : {0, 1}) {
            writeFile(valueFile, before == 0 ? "0\n" : "1\n");
            ASSERT_EQ(line.readValue(), before);
            writeFile(valueFile, row.bytes);

            EXPECT_EQ(line.readValue(), row.expected);
            EXPECT_EQ(line.lastValue(), row.expected < 0 ? before : row.expected);
            EXPECT_EQ(readFile(valueFile), row.bytes);
        }
    }
}

// A FIFO has no start, and gives its bytes once.
TEST_F(GpioLineLevel, IsReadByTwoBytesAtATime)
{
    fs::remove(valueFile);
    ASSERT_EQ(mkfifo(valueFile.c_str(), 0600), 0);
    const int writer = ::open(valueFile.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::write(writer, "0\n1\n", 4), 4);

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_EQ(line.lastValue(), 0);
    EXPECT_EQ(line.readValue(), 1);
    ::close(writer);
}

// Nothing is repeated, not even after a signal.
TEST_F(GpioLineLevel, IsNeitherReadNorWrittenAfterAnError)
{
    for (const int error : {EINTR, EAGAIN, EIO, ENODEV, EPERM}) {
        const std::string name = strerrorname_np(error);
        SCOPED_TRACE(name);
        line.close();
        effectsOf([this] { return line.init(17, 1); });
        effects.before = [error](const std::string& /*effect*/) { return error; };

        EXPECT_EQ(effectsOf([this] { return line.readValue() != -1; }),
                  "read gpio17/value: " + name + "\n" + fails(1, 1));
        EXPECT_EQ(effectsOf([this] { return line.writeLevel(0); }),
                  "write gpio17/value: " + name + "\n" + fails(0, 1));
        effects.before = [](const std::string& /*effect*/) { return 0; };
    }
}

TEST_F(GpioLineLevel, IsNotWrittenIfNoByteWas)
{
    openOutput();
    effects.before = [](const std::string& /*effect*/) { return Effects::writesNothing; };

    EXPECT_EQ(effectsOf([this] { return line.writeLevel(1); }), fails(1, 1));
}

TEST_F(GpioLineLevel, IsWrittenWhereTheLastAccessEnded)
{
    writeFile(valueFile, "1\n");
    ASSERT_TRUE(line.init(17, 0));
    ASSERT_EQ(line.readValue(), 1);

    EXPECT_TRUE(line.writeLevel(0));
    EXPECT_TRUE(line.writeLevel(1));
    EXPECT_EQ(readFile(valueFile), "1\n01");
}

struct Levels {
    std::int32_t level;
    std::string written;    ///< by writeLevel
    std::int32_t toggled;   ///< what writeLevelAndToggle leaves in the variable
    std::string ofPulse;    ///< the two levels
    std::int32_t inTheEnd;  ///< after a pulse
};

// A pulse ends with the complement of the lowest bit, so an even level other than 0 is high both
// times; that is intended.
const std::vector<Levels> levels = {
    {0, lowWritten, 1, lowWritten + highWritten, 1},
    {1, highWritten, 0, highWritten + lowWritten, 0},
    {2, highWritten, 1, highWritten + highWritten, 1},
    {5, highWritten, 0, highWritten + lowWritten, 0},
    {-1, highWritten, 0, highWritten + lowWritten, 0},
    {-2, highWritten, 1, highWritten + highWritten, 1},
    {lowest, highWritten, 1, highWritten + highWritten, 1},
    {highest, highWritten, 0, highWritten + lowWritten, 0},
};

TEST_F(GpioLineLevel, IsWrittenAsOneByteOrAsTwoThatMakeAPulse)
{
    openOutput();
    for (const Levels& row : levels) {
        SCOPED_TRACE(row.level);
        const int value = row.level == 0 ? 0 : 1;
        std::int32_t variable = row.level;

        EXPECT_EQ(effectsOf([&] { return line.writeLevel(row.level); }),
                  row.written + succeeds(value, 1));
        EXPECT_EQ(effectsOf([&] { return line.writeLevelAndToggle(variable); }),
                  row.written + succeeds(value, 1));
        EXPECT_EQ(variable, row.toggled);
        EXPECT_EQ(effectsOf([&] { return line.pulse(row.level); }),
                  row.ofPulse + succeeds(row.inTheEnd, 1));
    }
}

using Operation = std::function<bool(GpioLine& line, std::int32_t& level)>;

const std::vector<Operation> writers = {
    [](GpioLine& line, std::int32_t& level) { return line.writeLevel(level); },
    [](GpioLine& line, std::int32_t& level) { return line.writeLevelAndToggle(level); },
    [](GpioLine& line, std::int32_t& level) { return line.pulse(level); },
    [](GpioLine& line, std::int32_t& level) { return line.pulseFor(level, 1s); },
    [](GpioLine& line, std::int32_t& level) {
        return line.playSequence(level, std::vector<nanoseconds>{1s, 1s});
    },
};

// Each operation ends there; the value is the level that was not written, and the variable stays.
TEST_F(GpioLineLevel, IsRememberedIfItWasNotWritten)
{
    openOutput();
    effects.before = [](const std::string& effect) {
        return effect.starts_with("write ") ? EIO : 0;
    };
    GpioLine never;
    for (std::size_t index = 0; index < writers.size(); ++index) {
        for (const std::int32_t before : {0, 1, 2, 5}) {
            SCOPED_TRACE(std::to_string(index) + " " + std::to_string(before));
            std::int32_t level = before;

            EXPECT_EQ(effectsOf([&] { return writers[index](line, level); }),
                      "write gpio17/value: EIO\n" + fails(before == 0 ? 0 : 1, 1));
            EXPECT_EQ(level, before);
            EXPECT_FALSE(writers[index](never, level));
            EXPECT_EQ(never.lastValue(), before == 0 ? 0 : 1);
        }
    }
}

TEST_F(GpioLineLevel, IsThatOfTheSecondWriteOfAPulseIfThatFails)
{
    openOutput();
    for (const std::int32_t level : {0, 1}) {
        effects.before = [count = 0](const std::string& effect) mutable {
            return effect.starts_with("write ") && ++count == 2 ? EIO : 0;
        };
        EXPECT_EQ(effectsOf([&] { return line.pulseFor(level, 1ns); }),
                  (level == 0 ? lowWritten : highWritten) +
                      "wait 0.000000001\nwrite gpio17/value: EIO\n" + fails(1 - level, 1));
    }
}

}  // namespace
