// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/gpio/GpioLineFixture.h"

namespace fs = std::filesystem;

namespace {

/// Sets the mode of a file until destroyed.
class FileMode {
public:
    FileMode(std::string name, mode_t mode) : path(std::move(name))
    {
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        before = status.st_mode & 07777U;
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
    }
    ~FileMode() { chmod(path.c_str(), before); }
    FileMode(const FileMode&) = delete;
    FileMode& operator=(const FileMode&) = delete;

private:
    std::string path;
    mode_t before = 0;
};

class GpioLineRead : public GpioLineFixture {};

TEST_F(GpioLineRead, ReadsTheFirstTwoBytes)
{
    struct Row {
        const char* bytes;
        std::int32_t expected;
    };
    const std::vector<Row> rows = {{"1\n", 1}, {"0\n", 0}, {"x\n", 0},         {"10", 1},
                                   {"01", 0},  {"\n1", 0}, {"1 and more", 1},  {"2\n", 0},
                                   {"", -1},   {"1", -1},  {"0\n and more", 0}};
    GpioLine line;
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

TEST_F(GpioLineRead, ReadsFromTheStartEachTime)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));

    EXPECT_EQ(line.readValue(), 0);
    EXPECT_EQ(line.readValue(), 0);
    writeFile(valueFile, "1\n");
    EXPECT_EQ(line.readValue(), 1);
}

TEST_F(GpioLineRead, ReadsNothingWithoutALine)
{
    GpioLine line;

    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(line.lastValue(), 0);
}

// No process has a page at address 0, so a read there fails with EIO, as with a failing driver.
TEST_F(GpioLineRead, ReadsNothingWhenTheKernelFails)
{
    fs::remove(valueFile);
    fs::create_symlink("/proc/self/mem", valueFile);
    GpioLine line;
    ASSERT_TRUE(line.init(17, 1));

    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(line.lastValue(), 1);
}

class GpioLineDirection : public GpioLineFixture {};

TEST_F(GpioLineDirection, SetsTheDirection)
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
        {"-1, other byte", -1, "out\n", "x\n", "in", 0},
        {"-1, short value file", -1, "out\n", "1", "in", -1},
        {"-1, empty value file", -1, "out\n", "", "in", -1},
        {"-1, no attribute yet", -1, std::nullopt, "1\n", "in", 1},
        {"any negative", lowest, "out\n", "1\n", "in", 1},
        {"0", 0, "in\n", "1\n", "low", 0},
        {"0, output before", 0, "out\n", "1\n", "low", 0},
        {"0, value file not read", 0, "in\n", "", "low", 0},
        {"1", 1, "in\n", "0\n", "high", 1},
        {"1, output before", 1, "out\n", "0\n", "high", 1},
        {"1, value file not read", 1, "in\n", "", "high", 1},
        {"2, output, high", 2, "out\n", "1\n", "out\n", 1},
        {"2, output, low", 2, "out\n", "0\n", "out\n", 0},
        {"2, output, other byte", 2, "out\n", "x\n", "out\n", 0},
        {"2, output, short value file", 2, "out\n", "1", "out\n", -1},
        {"2, output, empty value file", 2, "out\n", "", "out\n", -1},
        {"2, input", 2, "in\n", "0\n", "high", 1},
        {"2, no newline", 2, "out", "0\n", "out", 0},
        {"2, whitespace before", 2, " \t\n out\n", "0\n", " \t\n out\n", 0},
        {"2, more words", 2, "out low\n", "0\n", "out low\n", 0},
        {"2, longer word", 2, "output\n", "0\n", "high", 1},
        {"2, capitals", 2, "OUT\n", "0\n", "high", 1},
        {"2, second word", 2, "in out\n", "0\n", "high", 1},
        {"2, empty attribute", 2, "", "0\n", "high", 1},
        {"2, no attribute yet", 2, std::nullopt, "0\n", "high", 1},
        {"5, output", 5, "out\n", "0\n", "out\n", 0},
        {"5, input", 5, "in\n", "0\n", "high", 1},
        {"any above 1, output", highest, "out\n", "0\n", "out\n", 0},
        {"any above 1, input", highest, "in\n", "0\n", "high", 1},
    };
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
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

TEST_F(GpioLineDirection, SetsHighIfItCannotReadTheDirection)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    writeFile(directionFile, "out\n");
    {
        const FileMode writeOnly(directionFile, 0200);
        EXPECT_TRUE(line.setDirection(17, 2));
    }
    EXPECT_EQ(readFile(directionFile), "high");
    EXPECT_EQ(line.lastValue(), 1);
}

struct DirectionFault {
    const char* name;
    std::function<std::unique_ptr<FileMode>()> arrange;
};

void PrintTo(const DirectionFault& row, std::ostream* out)
{
    *out << row.name;
}

class GpioLineDirectionFault : public GpioLineFixture,
                               public testing::WithParamInterface<DirectionFault> {};

TEST_P(GpioLineDirectionFault, ChangesNothing)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    fs::remove(directionFile);
    const std::unique_ptr<FileMode> mode = GetParam().arrange();
    for (const std::int32_t request : {-1, 0, 1, 2}) {
        SCOPED_TRACE(request);
        for (const std::int32_t before : {0, 1}) {
            ASSERT_TRUE(line.writeLevel(before));

            EXPECT_FALSE(line.setDirection(17, request));
            EXPECT_EQ(line.lastValue(), before);
            EXPECT_EQ(line.currentMode(), 1);
        }
    }
}

const DirectionFault directionFaults[] = {
    {"AttributeIsADirectory",
     [] {
         fs::create_directory(directionFile);
         return nullptr;
     }},
    {"AttributeIsReadOnly",
     [] {
         writeFile(directionFile, "in\n");
         return std::make_unique<FileMode>(directionFile, 0444);
     }},
    {"AttributeIsMissingAndDirectoryIsReadOnly",
     [] { return std::make_unique<FileMode>(lineDirectory, 0555); }},
    {"LineIsGone",
     [] {
         fs::remove_all(lineDirectory);
         return nullptr;
     }},
};

INSTANTIATE_TEST_SUITE_P(, GpioLineDirectionFault, testing::ValuesIn(directionFaults),
                         [](const auto& row) { return row.param.name; });

TEST_F(GpioLineDirection, SetsTheDirectionOfTheLineNamedAndReadsTheLineThatIsOpen)
{
    struct Row {
        std::int32_t request;
        const char* direction;
        const char* expectedDirection;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {{-1, "out\n", "in", 1},
                                   {0, "in\n", "low", 0},
                                   {1, "in\n", "high", 1},
                                   {2, "in\n", "high", 1},
                                   {2, "out\n", "out\n", 1}};
    makeLine(18, "0\n");
    writeFile(valueFile, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.request) + row.direction);
        const std::string other = "neither in nor out";
        writeFile(directionFile, other);
        writeFile(root + "gpio18/direction", row.direction);

        EXPECT_TRUE(line.setDirection(18, row.request));
        EXPECT_EQ(readFile(root + "gpio18/direction"), row.expectedDirection);
        EXPECT_EQ(readFile(directionFile), other);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
    }
}

TEST_F(GpioLineDirection, SetsTheDirectionWithoutAnOpenLine)
{
    GpioLine line;

    EXPECT_TRUE(line.setDirection(17, -1));
    EXPECT_EQ(readFile(directionFile), "in");
    EXPECT_EQ(line.lastValue(), -1);
    EXPECT_EQ(line.currentMode(), 0);
}

class GpioLineEdge : public GpioLineFixture {};

TEST_F(GpioLineEdge, SelectsTheEdge)
{
    struct Row {
        std::int32_t request;
        const char* expected;
    };
    const std::vector<Row> rows = {{-1, "falling"}, {lowest, "falling"}, {0, "both"},
                                   {1, "rising"},   {2, "rising"},       {highest, "rising"}};
    makeLine(18);
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.request);
        writeFile(lineDirectory + "/edge", "earlier contents");

        EXPECT_TRUE(line.setEdge(row.request));
        EXPECT_EQ(readFile(lineDirectory + "/edge"), row.expected);
    }
    writeFile(lineDirectory + "/edge", "rising\n");
    EXPECT_TRUE(line.disableEdge());
    EXPECT_EQ(readFile(lineDirectory + "/edge"), "none");
    EXPECT_EQ(namesIn(root + "gpio18"), (std::vector<std::string>{"direction", "value"}));
}

// A chip without interrupts has no edge attribute, and no file can be created in sysfs.
TEST_F(GpioLineEdge, CannotSelectTheEdgeOfALineWithoutOne)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    const FileMode readOnly(lineDirectory, 0555);

    EXPECT_FALSE(line.setEdge(-1));
    EXPECT_FALSE(line.setEdge(0));
    EXPECT_FALSE(line.setEdge(1));
    EXPECT_FALSE(line.disableEdge());
}

TEST_F(GpioLineEdge, CannotSelectTheEdgeWithoutALine)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    line.close();

    EXPECT_FALSE(line.setEdge(0));
    EXPECT_FALSE(line.disableEdge());
    EXPECT_FALSE(fs::exists(lineDirectory + "/edge"));
}

}  // namespace
