// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "gpio/GpioFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

namespace {

const std::string root = "/sys/class/gpio/";

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

// The stream still buffers a short text when its state is read; the kernel refuses it at the close.
TEST(GpioFile, IsRefusedOnlyIfThatShowsBeforeTheClose)
{
    emptyDirectory(root);
    fs::create_symlink("/dev/full", root + "export");

    EXPECT_TRUE(writeGpioFile("export", "in"));
    EXPECT_FALSE(writeGpioFile("export", std::string(1'000'000, 'x')));
}

}  // namespace
