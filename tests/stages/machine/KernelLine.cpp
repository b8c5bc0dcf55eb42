// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/machine/KernelLine.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

void set(const std::string& path, const std::string& text)
{
    const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(write(file, text.data(), text.size()), static_cast<ssize_t>(text.size())) << path;
    close(file);
}

void takeBackExport()
{
    if (std::filesystem::exists(lineFolder)) {
        set(edgeFile, "none");
        set(directionFile, "in");
        set(root + "unexport", "17");
    }
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
