// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

namespace {

// The standard descriptors that are closed when the program starts; bit n stands for descriptor n.
class ClosedDescriptors : public testing::TestWithParam<unsigned> {};

// No text meant for the console may end up in a file that the program opens.
TEST_P(ClosedDescriptors, LetNoRecordIntoAFile)
{
    const unsigned closed = GetParam();
    Appliance appliance;
    appliance.setSwitch(Switch::unreadable);
    writeFile(configPath, handwritten("false"));
    const auto closeThem = [closed] {
        for (int fd = 0; fd < 3; ++fd) {
            if ((closed >> fd & 1U) != 0) {
                close(fd);
            }
        }
    };

    const RunResult run = appliance.run(
        {configPath, "-flip"}, {.name = "switch-querier", .prepare = closeThem, .wrapper = {}});

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out.empty(), (closed & 2U) != 0);
    EXPECT_EQ(run.err.empty(), (closed & 4U) != 0);
    EXPECT_EQ(run.log.size(), 2U);
    EXPECT_EQ(readFile(configPath), rewritten("true"));
    EXPECT_EQ(readFile("/sys/class/gpio/gpio17/value"), "1");
    EXPECT_EQ(readFile("/sys/class/gpio/gpio17/direction"), "in");
}

INSTANTIATE_TEST_SUITE_P(, ClosedDescriptors, testing::Range(0U, 8U));

}  // namespace
