// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"
#include "tests/program/Documents.h"

// What the program may do if it does not run as the superuser.
namespace {

const std::string line = std::string(Appliance::gpioDirectory) + "/gpio17";

/// The rights on each file. Those of the owner and of all others are the same.
struct Rights {
    mode_t value = 0666;
    mode_t direction = 0222;
    mode_t lineDirectory = 0555;
    mode_t config = 0444;
    mode_t directory = 0333;  ///< of the configuration file
};

struct Row {
    const char* name;
    Rights rights;
    int status;
    std::string lastError;  ///< empty if there is none
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

/// In the new process. If no other user is possible, this one has the owner's rights only, which
/// are the same.
void becomeAnotherUser()
{
    constexpr uid_t somebody = 12345;
    if (isUnderProot()) {
        return;
    }
    const bool became =
        setgroups(0, nullptr) == 0 && setgid(somebody) == 0 && setuid(somebody) == 0;
    // A user namespace may know this user only.
    if (!became && errno != EINVAL && errno != EPERM) {
        std::_Exit(99);
    }
}

class RightsOfAnotherUser : public testing::TestWithParam<Row> {
protected:
    void TearDown() override
    {
        chmod(Appliance::directory, 0755);
        chmod(line.c_str(), 0755);
    }
};

TEST_P(RightsOfAnotherUser, DecideWhatTheRunCanDo)
{
    const Row& row = GetParam();
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    writeFile(configPath, handwritten("false"));
    writeFile("/sys/class/gpio/export", "");
    chmod("/dev/log", 0666);
    chmod("/sys/class/gpio/export", 0);
    chmod((line + "/value").c_str(), row.rights.value);
    chmod((line + "/direction").c_str(), row.rights.direction);
    chmod(line.c_str(), row.rights.lineDirectory);
    chmod(configPath.c_str(), row.rights.config);
    chmod(Appliance::directory, row.rights.directory);

    const RunResult run = appliance.run(
        {configPath}, {.name = "switch-querier", .prepare = becomeAnotherUser, .wrapper = {}});

    chmod(configPath.c_str(), 0644);
    ASSERT_EQ(run.status, row.status) << run.err;
    ASSERT_FALSE(run.log.empty());
    EXPECT_EQ(readFile(configPath), row.status == 1 ? rewritten("true") : handwritten("false"));
    EXPECT_EQ(run.log.back().text, (row.status == 1 ? expected::updated(1) : row.lastError) + "\n");
    EXPECT_EQ(run.err.find(expected::cannotInitSwitch()) != std::string::npos, row.status == 210);
}

const Row rows[] = {
    {"AreEnough", {}, 1, ""},
    {"WithoutReadingTheValue", {.value = 0222}, 210, expected::nothingDecides().message},
    {"WithoutWritingTheValue", {.value = 0444}, 210, expected::nothingDecides().message},
    {"WithoutWritingTheDirection", {.direction = 0444}, 210, expected::nothingDecides().message},
    {"WithoutReadingTheDirectoryOfTheLine",
     {.lineDirectory = 0111},
     210,
     expected::nothingDecides().message},
    {"WithoutReadingTheFile", {.config = 0222}, 163, expected::unreadable(configPath).message},
    {"WithoutCreatingFiles", {.directory = 0555}, 226, expected::notOpened().message},
};

INSTANTIATE_TEST_SUITE_P(, RightsOfAnotherUser, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

}  // namespace
