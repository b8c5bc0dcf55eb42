// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "gpio/GpioFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

namespace {

const std::string root = "/sys/class/gpio/";

TEST(GpioLineDirectory, IsNamedAfterTheNumberInDecimal)
{
    EXPECT_EQ(gpioLineDirectory(17), "gpio17");
    EXPECT_EQ(gpioLineDirectory(0), "gpio0");
    EXPECT_EQ(gpioLineDirectory(-1), "gpio-1");
    EXPECT_EQ(gpioLineDirectory(std::numeric_limits<std::int32_t>::max()), "gpio2147483647");
    EXPECT_EQ(gpioLineDirectory(std::numeric_limits<std::int32_t>::min()), "gpio-2147483648");
}

TEST(GpioFile, HoldsTheTextAndNothingElse)
{
    for (const std::string& text :
         {std::string("17"), std::string(), std::string("two\nlines\n"),
          std::string("a NUL \0 inside", 14), std::string(100'000, 'x')}) {
        SCOPED_TRACE(text.substr(0, 20));
        emptyDirectory(root);
        fs::create_directory(root + "gpio17");
        writeFile(root + "export", "earlier contents, which are longer");

        EXPECT_TRUE(writeGpioFile("export", text));
        EXPECT_EQ(readFile(root + "export"), text);
        EXPECT_TRUE(writeGpioAttribute(17, "direction", text));
        EXPECT_EQ(readFile(root + "gpio17/direction"), text);
    }
}

struct Row {
    const char* name;
    std::function<void()> arrange;
    std::string text;
    bool result;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

class GpioAttribute : public testing::TestWithParam<Row> {};

TEST_P(GpioAttribute, CanBeWrittenOrNot)
{
    emptyDirectory(root);
    fs::create_directory(root + "gpio17");
    GetParam().arrange();
    const std::vector<std::string> names = namesIn(root + "gpio17");

    EXPECT_EQ(writeGpioAttribute(17, "direction", GetParam().text), GetParam().result);
    EXPECT_EQ(writeGpioFile("gpio17/direction", GetParam().text), GetParam().result);
    EXPECT_EQ(namesIn(root + "gpio17"), names);
}

void linkToFullDevice()
{
    fs::create_symlink("/dev/full", root + "gpio17/direction");
}

const Row rows[] = {
    {"Directory", [] { fs::create_directory(root + "gpio17/direction"); }, "in", false},
    {"ReadOnly",
     [] {
         writeFile(root + "gpio17/direction", "");
         chmod((root + "gpio17/direction").c_str(), 0444);
     },
     "in", false},
    {"LineNotExported", [] { fs::remove(root + "gpio17"); }, "in", false},
    {"NoGpioFiles", [] { fs::remove_all(root); }, "in", false},
    // The stream still buffers a short text when its state is read; the kernel refuses it at the
    // close.
    {"FailsAtTheClose", linkToFullDevice, "in", true},
    {"FailsBeforeTheClose", linkToFullDevice, std::string(1'000'000, 'x'), false},
};

INSTANTIATE_TEST_SUITE_P(, GpioAttribute, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

}  // namespace
