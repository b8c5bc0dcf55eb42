// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/StatusReport.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/RecordingBuffer.h"

namespace {

// Values below those that have a meaning of their own mean the same as the next one.
TEST(StatusReport, InsertsEachLineInOnePieceAndFlushesIt)
{
    for (int hardware = -2; hardware <= 1; ++hardware) {
        for (int overrideFile = -2; overrideFile <= 1; ++overrideFile) {
            for (int parameter = -1; parameter <= 2; ++parameter) {
                for (int configValue = -2; configValue <= 1; ++configValue) {
                    for (int newValue = -3; newValue <= 1; ++newValue) {
                        SCOPED_TRACE(testing::Message()
                                     << hardware << ", " << overrideFile << ", " << parameter
                                     << ", " << configValue << ", " << newValue);
                        RecordingBuffer recorder;
                        std::ostream out(&recorder);

                        EXPECT_EQ(&printStatusReport(hardware, overrideFile, parameter, configValue,
                                                     newValue, out),
                                  &out);

                        std::vector<std::string> events;
                        for (const std::string& line : expected::report(
                                 {parameter, overrideFile, hardware},
                                 configValue == -2 ? std::nullopt : std::optional(configValue),
                                 newValue < -1 ? std::nullopt : std::optional(newValue))) {
                            events.insert(events.end(), {line, "(flush)"});
                        }
                        EXPECT_EQ(recorder.events, events);
                    }
                }
            }
        }
    }
}

}  // namespace
