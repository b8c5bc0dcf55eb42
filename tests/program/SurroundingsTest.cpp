// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"
#include "tests/program/Documents.h"
#include "tests/program/ExpectedOutcome.h"

namespace fs = std::filesystem;

// What the caller hands on to the program.
namespace {

TEST(Umask, DecidesTheModeOfTheNewFile)
{
    for (const mode_t mask : {0000U, 0022U, 0077U, 0133U}) {
        SCOPED_TRACE(mask);
        Appliance appliance;
        writeFile(configPath, handwritten("false"));
        chmod(configPath.c_str(), 0600);

        appliance.run({configPath, "-enc"}, {.prepare = [mask] { umask(mask); }});

        struct stat status = {};
        ASSERT_EQ(lstat(configPath.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0666U & ~mask);
        EXPECT_EQ(readFile(configPath), rewritten("true"));
        EXPECT_EQ(namesIn(Appliance::directory), std::vector<std::string>{"config.json"});
    }
}

TEST(Surroundings, ARelativePathIsTakenFromTheCurrentDirectory)
{
    Appliance appliance;
    fs::create_directory("/appliance/sub");
    writeFile("/appliance/sub/config.json", handwritten("false"));

    const auto enter = [] { fs::current_path("/appliance/sub"); };
    const RunResult run = appliance.run({"config.json", "-enc"}, {.prepare = enter});

    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_EQ(readFile("/appliance/sub/config.json"), rewritten("true"));
    EXPECT_EQ(namesIn("/appliance/sub"), std::vector<std::string>{"config.json"});
}

// Only "-query" itself is no file.
class FileNamedLikeAParameter : public testing::TestWithParam<const char*> {};

TEST_P(FileNamedLikeAParameter, IsReadAndReplaced)
{
    const std::string name = GetParam();
    Appliance appliance;
    appliance.setSwitch(Switch::low);

    expectRun(appliance, {.arguments = {name},
                          .hardware = Switch::low,
                          .configuration = {.refusal = expected::unreadable(name)}});

    writeFile(name, handwritten("false"));
    EXPECT_EQ(appliance.run({name}).status, 1);
    EXPECT_EQ(readFile(name), rewritten("true"));
    EXPECT_EQ(appliance.run({name, "-query"}).status, 0);
    EXPECT_EQ(namesIn(Appliance::directory), std::vector<std::string>{name});
}

INSTANTIATE_TEST_SUITE_P(, FileNamedLikeAParameter,
                         testing::Values("-queryx", "-query ", "-query.json", "-quer", "-Query",
                                         "--query", "query", "-enc", "-dec", "-flip", "-", "--",
                                         "-h", "--help", "-v", "--version", "~", "$HOME", " x ",
                                         "*", "a\\b", "{}"));

// A path is written as it is, line ends and control bytes included.
TEST(FirstParameter, IsShownUnchanged)
{
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    const std::string path = "a\nERROR: b\t\x1b[31m%s\x7f";

    expectRun(appliance, {.arguments = {path},
                          .hardware = Switch::low,
                          .configuration = {.refusal = expected::unreadable(path)}});
}

TEST(ProgramName, IsTheLastComponentOfItsPath)
{
    struct Row {
        const char* path;
        const char* name;
    };
    for (const Row& row : {Row{"querier", "querier"}, Row{"/usr/sbin/querier", "querier"},
                           Row{"a/b\\c", "c"}, Row{"usr/", ""}, Row{"", ""}}) {
        SCOPED_TRACE(row.path);
        Appliance appliance;
        const RunOptions named{.name = row.path};

        expectRun(appliance, {.programName = row.name}, named);
        expectRun(appliance, {.arguments = {"-query"}, .programName = row.name}, named);
    }
}

/// In the new process. If no other user is possible, this one has the rights of a file's owner.
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

// Those of the owner and of all others are the same.
TEST(AnotherUser, NeedsOnlyTheseRights)
{
    const std::string line = std::string(Appliance::gpioDirectory) + "/gpio17";
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    writeFile(configPath, handwritten("false"));
    chmod((line + "/value").c_str(), 0666);
    chmod((line + "/direction").c_str(), 0222);
    chmod(line.c_str(), 0555);
    chmod("/dev/log", 0666);
    chmod(configPath.c_str(), 0444);
    chmod(Appliance::directory, 0333);

    const RunResult run = appliance.run({configPath}, {.prepare = becomeAnotherUser});

    chmod(Appliance::directory, 0755);
    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_EQ(run.log.size(), 1U);
    EXPECT_EQ(readFile(configPath), rewritten("true"));
}

}  // namespace
