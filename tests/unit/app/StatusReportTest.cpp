// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/StatusReport.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "tests/appliance/ExpectedRun.h"

namespace {

/// Records each insertion, and "(flush)" for a flush.
class Recorder : public std::streambuf {
public:
    std::vector<std::string> events;

protected:
    int_type overflow(int_type byte) override
    {
        events.emplace_back(1, traits_type::to_char_type(byte));
        return traits_type::not_eof(byte);
    }

    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        events.emplace_back(bytes, static_cast<std::size_t>(count));
        return count;
    }

    int sync() override
    {
        events.emplace_back("(flush)");
        return 0;
    }
};

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
                        Recorder recorder;
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
