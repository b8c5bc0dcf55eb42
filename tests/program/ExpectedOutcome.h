// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"

/// Runs the program, and expects all of this: the status, both outputs, the records, and the bytes
/// of the configuration file, which is the first argument. The appliance's other files stay as they
/// are, but for "in" in the direction of line 17 if the run gets so far.
inline void expectRun(Appliance& appliance, const std::vector<std::string>& arguments,
                      const expected::Run& expectedRun, const RunOptions& options = {})
{
    Tree files = Appliance::files();
    const auto setFile = [&files](const std::string& path, const std::string& text) {
        const auto found = files.find(path);
        if (found != files.end() && found->second.starts_with("file: ")) {
            found->second = "file: " + text;
        }
    };
    if (!arguments.empty()) {
        setFile(arguments.front(), expectedRun.configuration);
    }
    if (expectedRun.status != 96 && expectedRun.status != 119) {
        setFile("/sys/class/gpio/gpio17/direction", "in");
    }

    const RunResult run = appliance.run(arguments, options);

    EXPECT_EQ(run.status, expectedRun.status) << "signal " << run.signal;
    EXPECT_EQ(run.out, expectedRun.out);
    EXPECT_EQ(run.err, expectedRun.err);
    EXPECT_EQ(run.log, expectedRun.log);
    EXPECT_EQ(Appliance::files(), files);
}

/// The same, as the reference says for these sources.
inline void expectRun(Appliance& appliance, const expected::Sources& sources,
                      const RunOptions& options = {})
{
    expectRun(appliance, sources.arguments, expected::run(sources), options);
}
