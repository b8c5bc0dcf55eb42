// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/gpio/GpioLineFixture.h"

namespace fs = std::filesystem;

namespace {

class GpioLineDirection : public GpioLineFixture {
protected:
    /// Opens line 17 as an input.
    GpioLineDirection()
    {
        effects.record([this] { EXPECT_TRUE(line.init(17, -1)); });
    }

    ~GpioLineDirection() override { chmod(lineDirectory.c_str(), 0755); }
};

TEST_F(GpioLineDirection, IsSetAsRequested)
{
    struct Row {
        const char* name;
        std::int32_t request;
        std::optional<std::string> direction;
        const char* value;
        const char* expectedDirection;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {
        {"-1, high", -1, "out\n", "1\n", "in", 1},
        {"-1, low", -1, "out\n", "0\n", "in", 0},
        {"-1, short value file", -1, "out\n", "1", "in", -1},
        {"-1, no attribute yet", -1, std::nullopt, "1\n", "in", 1},
        {"any negative", lowest, "out\n", "1\n", "in", 1},
        {"0", 0, "in\n", "1\n", "low", 0},
        {"0, output before", 0, "out\n", "1\n", "low", 0},
        {"0, value file not read", 0, "in\n", "", "low", 0},
        {"1", 1, "in\n", "0\n", "high", 1},
        {"1, value file not read", 1, "in\n", "", "high", 1},
        {"2, output, high", 2, "out\n", "1\n", "out\n", 1},
        {"2, output, short value file", 2, "out\n", "1", "out\n", -1},
        {"2, input", 2, "in\n", "0\n", "high", 1},
        {"2, no newline", 2, "out", "0\n", "out", 0},
        {"2, whitespace before", 2, " \t\n out\n", "0\n", " \t\n out\n", 0},
        {"2, more words", 2, "out low\n", "0\n", "out low\n", 0},
        {"2, longer word", 2, "output\n", "0\n", "high", 1},
        {"2, second word", 2, "in out\n", "0\n", "high", 1},
        {"2, no attribute yet", 2, std::nullopt, "0\n", "high", 1},
        {"any above 1, output", highest, "out\n", "0\n", "out\n", 0},
        {"any above 1, input", highest, "in\n", "0\n", "high", 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        for (const std::int32_t before : {0, 1}) {
            ASSERT_TRUE(line.writeLevel(before));
            writeFile(valueFile, row.value);
            fs::remove(directionFile);
            if (row.direction.has_value()) {
                writeFile(directionFile, *row.direction);
            }

            EXPECT_TRUE(line.setDirection(17, row.request));
            EXPECT_EQ(readFile(directionFile), row.expectedDirection);
            EXPECT_EQ(line.lastValue(), row.expectedValue);
            EXPECT_EQ(readFile(valueFile), row.value);
            EXPECT_EQ(line.currentMode(), -1);
        }
    }
}

TEST_F(GpioLineDirection, IsSetOfTheLineNamedWhileTheLevelIsThatOfTheOpenLine)
{
    makeLine(18, "0\n");
    writeFile(valueFile, "1\n");
    writeFile(directionFile, "neither in nor out");
    for (const auto& [request, direction] :
         std::vector<std::pair<std::int32_t, std::string>>{{-1, "in"}, {2, "out\n"}, {1, "high"}}) {
        SCOPED_TRACE(direction);
        writeFile(root + "gpio18/direction", "out\n");

        EXPECT_TRUE(line.setDirection(18, request));
        EXPECT_EQ(readFile(root + "gpio18/direction"), direction);
        EXPECT_EQ(readFile(directionFile), "neither in nor out");
        EXPECT_EQ(line.lastValue(), 1);
    }
}

TEST_F(GpioLineDirection, NeedsNoOpenLine)
{
    line.close();

    EXPECT_EQ(effectsOf([this] { return line.setDirection(17, -1); }),
              directionWritten("in") + succeeds(-1, 0));
}

struct Fault {
    const char* name;
    std::function<void()> arrange;
};

void PrintTo(const Fault& row, std::ostream* out)
{
    *out << row.name;
}

class GpioLineFault : public GpioLineDirection, public testing::WithParamInterface<Fault> {};

// A chip without interrupts has no edge attribute, and no file can be created in sysfs.
TEST_P(GpioLineFault, OfAnAttributeChangesNothing)
{
    GetParam().arrange();
    for (const std::int32_t before : {0, 1}) {
        ASSERT_TRUE(line.writeLevel(before));
        for (const std::int32_t request : {-1, 0, 1, 2}) {
            SCOPED_TRACE(request);
            EXPECT_FALSE(line.setDirection(17, request));
            EXPECT_FALSE(line.setEdge(request));
            EXPECT_FALSE(line.disableEdge());
            EXPECT_EQ(line.lastValue(), before);
            EXPECT_EQ(line.currentMode(), -1);
        }
    }
}

const Fault faults[] = {
    {"AttributeIsADirectory",
     [] {
         replaceByDirectory(directionFile);
         replaceByDirectory(lineDirectory + "/edge");
     }},
    {"AttributeIsMissingAndDirectoryIsReadOnly",
     [] {
         fs::remove(directionFile);
         chmod(lineDirectory.c_str(), 0555);
     }},
    {"LineIsGone", [] { fs::remove_all(lineDirectory); }},
};

INSTANTIATE_TEST_SUITE_P(, GpioLineFault, testing::ValuesIn(faults),
                         [](const auto& row) { return row.param.name; });

class GpioLineEdge : public GpioLineDirection {};

TEST_F(GpioLineEdge, IsSelectedAsRequested)
{
    const std::string edgeFile = lineDirectory + "/edge";
    for (const auto& [request, word] :
         std::vector<std::pair<std::int32_t, std::string>>{{-1, "falling"},
                                                           {lowest, "falling"},
                                                           {0, "both"},
                                                           {1, "rising"},
                                                           {2, "rising"},
                                                           {highest, "rising"}}) {
        SCOPED_TRACE(request);
        EXPECT_TRUE(line.setEdge(request));
        EXPECT_EQ(readFile(edgeFile), word);
    }
    EXPECT_TRUE(line.disableEdge());
    EXPECT_EQ(readFile(edgeFile), "none");
}

// It would be that of a line with the number -1.
TEST_F(GpioLineEdge, IsThatOfNoLineBeforeALineIsOpenAndAfterItIsClosed)
{
    const auto effectsOn = [this](GpioLine& handle) {
        return effectsOf([&] { return handle.setEdge(1); }) +
               effectsOf([&] { return handle.disableEdge(); });
    };
    GpioLine never;
    line.close();

    const std::string refused = "create gpio-1/edge: ENOENT\n" + fails(0, 0);
    EXPECT_EQ(effectsOn(never), refused + refused);
    EXPECT_EQ(effectsOn(line), refused + refused);
}

}  // namespace
