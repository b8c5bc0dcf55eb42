// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "gpio/GpioFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

namespace {

const std::string root = "/sys/class/gpio/";

class GpioFile : public testing::Test {
protected:
    GpioFile() { emptyDirectory(root); }
};

TEST(GpioLineDirectory, IsNamedAfterTheNumberInDecimal)
{
    EXPECT_EQ(gpioLineDirectory(17), "gpio17");
    EXPECT_EQ(gpioLineDirectory(0), "gpio0");
    EXPECT_EQ(gpioLineDirectory(-1), "gpio-1");
    EXPECT_EQ(gpioLineDirectory(std::numeric_limits<std::int32_t>::max()), "gpio2147483647");
    EXPECT_EQ(gpioLineDirectory(std::numeric_limits<std::int32_t>::min()), "gpio-2147483648");
}

TEST_F(GpioFile, WritesTheTextAndNothingElse)
{
    const std::vector<std::string> texts = {"17", "", "two\nlines\n",
                                            std::string("a NUL \0 inside", 14)};
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        writeFile(root + "export", "earlier contents, which are longer");

        EXPECT_TRUE(writeGpioFile("export", text));
        EXPECT_EQ(readFile(root + "export"), text);
        EXPECT_EQ(namesIn(root), std::vector<std::string>{"export"});
    }
}

TEST_F(GpioFile, ReachesAFileInADirectory)
{
    fs::create_directory(root + "gpio17");
    writeFile(root + "gpio17/edge", "none\n");

    EXPECT_TRUE(writeGpioFile("gpio17/edge", "both"));
    EXPECT_EQ(readFile(root + "gpio17/edge"), "both");
}

TEST_F(GpioFile, WritesALongTextWhole)
{
    const std::string text(100'000, 'x');

    EXPECT_TRUE(writeGpioFile("export", text));
    EXPECT_EQ(readFile(root + "export"), text);
}

TEST_F(GpioFile, LeavesNoDescriptorOpen)
{
    const std::vector<std::string> before = namesIn("/proc/self/fd");

    EXPECT_TRUE(writeGpioFile("export", "17"));
    EXPECT_EQ(namesIn("/proc/self/fd"), before);
}

TEST_F(GpioFile, RefusesADirectory)
{
    fs::create_directory(root + "export");

    EXPECT_FALSE(writeGpioFile("export", "17"));
}

TEST_F(GpioFile, RefusesAReadOnlyFile)
{
    writeFile(root + "export", "as it was");
    ASSERT_EQ(chmod((root + "export").c_str(), 0444), 0);

    EXPECT_FALSE(writeGpioFile("export", "17"));
    EXPECT_EQ(readFile(root + "export"), "as it was");
}

TEST_F(GpioFile, RefusesAFileInAMissingDirectory)
{
    EXPECT_FALSE(writeGpioFile("gpio17/direction", "in"));
    EXPECT_EQ(namesIn(root), std::vector<std::string>{});
}

TEST_F(GpioFile, RefusesWithoutTheGpioDirectory)
{
    fs::remove_all(root);

    EXPECT_FALSE(writeGpioFile("export", "17"));
    EXPECT_FALSE(fs::exists(root));
}

// The stream still buffers a short text when its state is read; the kernel refuses it at the close.
TEST_F(GpioFile, IgnoresAShortTextThatFailsAtTheClose)
{
    fs::create_symlink("/dev/full", root + "export");

    EXPECT_TRUE(writeGpioFile("export", "17"));
    EXPECT_TRUE(writeGpioFile("export", ""));
}

TEST_F(GpioFile, DetectsATextThatFailsBeforeTheClose)
{
    constexpr std::size_t longerThanAnyBuffer = 1'000'000;
    fs::create_symlink("/dev/full", root + "export");

    EXPECT_FALSE(writeGpioFile("export", std::string(longerThanAnyBuffer, 'x')));
}

TEST_F(GpioFile, WritesAnAttributeOfTheLine)
{
    fs::create_directory(root + "gpio17");
    fs::create_directory(root + "gpio1");
    writeFile(root + "gpio17/direction", "high, and more");
    writeFile(root + "gpio1/direction", "out\n");

    EXPECT_TRUE(writeGpioAttribute(17, "direction", "in"));
    EXPECT_EQ(readFile(root + "gpio17/direction"), "in");
    EXPECT_EQ(readFile(root + "gpio1/direction"), "out\n");
    EXPECT_EQ(namesIn(root + "gpio17"), std::vector<std::string>{"direction"});
}

TEST_F(GpioFile, RefusesAnAttributeOfALineThatIsNotExported)
{
    EXPECT_FALSE(writeGpioAttribute(17, "direction", "in"));
}

TEST_F(GpioFile, RefusesAnAttributeThatIsADirectory)
{
    fs::create_directories(root + "gpio17/direction");

    EXPECT_FALSE(writeGpioAttribute(17, "direction", "in"));
}

TEST_F(GpioFile, IgnoresAnAttributeThatFailsAtTheClose)
{
    fs::create_directory(root + "gpio17");
    fs::create_symlink("/dev/full", root + "gpio17/direction");

    EXPECT_TRUE(writeGpioAttribute(17, "direction", "in"));
}

}  // namespace
