// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

namespace {

// Whatever is closed when it starts: no text meant for the console may land in a file that the
// program opens.
TEST(Descriptors, MayBeClosedWithoutARecordStrayingIntoAFile)
{
    for (unsigned closed = 0; closed < 8; ++closed) {
        SCOPED_TRACE("closed: " + std::to_string(closed));
        Appliance appliance;
        appliance.setSwitch(Switch::unreadable);
        writeFile(configPath, handwritten("false"));
        const RunOptions options{.name = "switch-querier",
                                 .prepare =
                                     [closed] {
                                         for (int fd = 0; fd < 3; ++fd) {
                                             if ((closed >> fd & 1U) != 0) {
                                                 close(fd);
                                             }
                                         }
                                     },
                                 .wrapper = {}};

        const RunResult run = appliance.run({configPath, "-flip"}, options);

        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out.empty(), (closed & 2U) != 0);
        EXPECT_EQ(run.err.empty(), (closed & 4U) != 0);
        EXPECT_EQ(run.log.size(), 2U);
        EXPECT_EQ(readFile(configPath), rewritten("true"));
        EXPECT_EQ(readFile("/sys/class/gpio/gpio17/value"), "1");
        EXPECT_EQ(readFile("/sys/class/gpio/gpio17/direction"), "in");
    }
}

}  // namespace
