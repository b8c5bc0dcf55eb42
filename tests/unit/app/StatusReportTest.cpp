// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/StatusReport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/app/RecordingStream.h"

namespace {

using Lines = std::vector<std::string>;

struct Values {
    int hardware;
    int overrideFile;
    int parameter;
    int configValue;
    int newValue;
};

/// Returns the lines as they were flushed.
Lines report(const Values& values)
{
    RecordingStream out;
    printStatusReport(values.hardware, values.overrideFile, values.parameter, values.configValue,
                      values.newValue, out);
    return out.records();
}

// The name of a row says which of its values matter; the others are arbitrary.
TEST(StatusReport, NamesTheFindingsAndTheDecision)
{
    struct Row {
        const char* name;
        Values values;
        Lines lines;
    };
    const Row rows[] = {
        {"flipped from decoder",
         {1, -1, 2, 0, 1},
         {"Hardware switch: Encoder\n", "Config file    : Decoder\n",
          "Override parm  : Flipped to Encoder\n", "Override file  : None\n",
          "New setting    : Encoder\n"}},
        {"flipped from encoder",
         {0, -1, 2, 1, 0},
         {"Hardware switch: Decoder\n", "Config file    : Encoder\n",
          "Override parm  : Flipped to Decoder\n", "Override file  : None\n",
          "New setting    : Decoder\n"}},
        {"flipped from an unknown value",
         {1, -1, 2, -1, -1},
         {"Hardware switch: Encoder\n", "Config file    : Unknown?\n", "Override parm  : Flipped\n",
          "Override file  : None\n", "New setting    : Not specified\n"}},
        {"flipped from a value not read",
         {1, -1, 2, -2, -2},
         {"Hardware switch: Encoder\n", "Override parm  : Flipped\n", "Override file  : None\n"}},
        {"query only, switch at decoder",
         {0, -1, -1, -2, -2},
         {"Hardware switch: Decoder\n", "Override parm  : None\n", "Override file  : None\n"}},
        {"query only, nothing known",
         {-1, -1, -1, -2, -2},
         {"Hardware switch: Could not be determined\n", "Override parm  : None\n",
          "Override file  : None\n"}},
        {"nothing decides, file at decoder",
         {-1, -1, -1, 0, -1},
         {"Hardware switch: Could not be determined\n", "Config file    : Decoder\n",
          "Override parm  : None\n", "Override file  : None\n",
          "New setting    : Not specified\n"}},
        {"nothing decides, file at encoder",
         {-1, -1, -1, 1, -1},
         {"Hardware switch: Could not be determined\n", "Config file    : Encoder\n",
          "Override parm  : None\n", "Override file  : None\n",
          "New setting    : Not specified\n"}},
        {"file unknown, no override",
         {0, -1, -1, -1, 0},
         {"Hardware switch: Decoder\n", "Config file    : Unknown?\n", "Override parm  : None\n",
          "Override file  : None\n", "New setting    : Decoder\n"}},
        {"forced to encoder",
         {0, 0, 1, 0, 1},
         {"Hardware switch: Decoder\n", "Config file    : Decoder\n", "Override parm  : Encoder\n",
          "Override file  : Decoder\n", "New setting    : Encoder\n"}},
        {"forced to decoder",
         {1, 1, 0, 1, 0},
         {"Hardware switch: Encoder\n", "Config file    : Encoder\n", "Override parm  : Decoder\n",
          "Override file  : Encoder\n", "New setting    : Decoder\n"}},
        {"marker file for encoder",
         {-1, 1, -1, 0, 1},
         {"Hardware switch: Could not be determined\n", "Config file    : Decoder\n",
          "Override parm  : None\n", "Override file  : Encoder\n", "New setting    : Encoder\n"}},
        {"file read, new setting left out",
         {1, 0, -1, 1, -2},
         {"Hardware switch: Encoder\n", "Config file    : Encoder\n", "Override parm  : None\n",
          "Override file  : Decoder\n"}},
        {"file not read, new setting shown",
         {1, 0, -1, -2, 0},
         {"Hardware switch: Encoder\n", "Override parm  : None\n", "Override file  : Decoder\n",
          "New setting    : Decoder\n"}},
        {"any negative switch is unknown",
         {-2, -1, -1, -2, -2},
         {"Hardware switch: Could not be determined\n", "Override parm  : None\n",
          "Override file  : None\n"}},
        {"any negative marker file is none",
         {1, -2, -1, -2, -2},
         {"Hardware switch: Encoder\n", "Override parm  : None\n", "Override file  : None\n"}},
        {"every new setting below -1 is left out",
         {1, -1, -1, -2, -3},
         {"Hardware switch: Encoder\n", "Override parm  : None\n", "Override file  : None\n"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(report(row.values), row.lines);
    }
}

TEST(StatusReport, WritesEachLineInOnePiece)
{
    RecordingStream out;
    printStatusReport(1, -1, 2, 0, 1, out);
    EXPECT_EQ(out.records().size(), 5U);
    EXPECT_EQ(out.writes(), 5);
}

TEST(StatusReport, ReturnsItsStream)
{
    RecordingStream out;
    EXPECT_EQ(&printStatusReport(1, -1, -1, -2, -2, out), &out);
    out.setstate(std::ios::badbit);
    EXPECT_EQ(&printStatusReport(1, -1, -1, -2, -2, out), &out);
    EXPECT_EQ(out.records().size(), 3U);
}

}  // namespace
