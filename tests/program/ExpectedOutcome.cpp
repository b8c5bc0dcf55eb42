// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/program/ExpectedOutcome.h"

#include <gtest/gtest.h>

namespace {

void setFile(Tree& tree, const std::string& path, const std::string& text)
{
    const auto found = tree.find(path);
    if (found != tree.end() && found->second.starts_with("file: ")) {
        found->second = "file: " + text;
    }
}

}  // namespace

void expectRun(Appliance& appliance, const std::vector<std::string>& arguments,
               const expected::Run& expectedRun, const RunOptions& options)
{
    Tree files = Appliance::files();
    if (!arguments.empty()) {
        setFile(files, arguments.front(), expectedRun.configuration);
    }
    if (expectedRun.status != 96 && expectedRun.status != 119) {
        setFile(files, "/sys/class/gpio/gpio17/direction", "in");
    }

    const RunResult run = appliance.run(arguments, options);

    EXPECT_EQ(run.status, expectedRun.status) << "signal " << run.signal;
    EXPECT_EQ(run.out, expectedRun.out);
    EXPECT_EQ(run.err, expectedRun.err);
    EXPECT_EQ(run.log, expectedRun.log);
    EXPECT_EQ(Appliance::files(), files);
}

void expectRun(Appliance& appliance, const expected::Sources& sources, const RunOptions& options)
{
    expectRun(appliance, sources.arguments, expected::run(sources), options);
}
