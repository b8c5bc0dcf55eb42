// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/CommaLocale.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"
#include "tests/program/ExpectedOutcome.h"

namespace fs = std::filesystem;

// What the caller hands on to the program.
namespace {

RunOptions preparedBy(const std::function<void()>& prepare)
{
    return {.name = "switch-querier", .prepare = prepare, .wrapper = {}};
}

void useCommaLocale()
{
    setenv("LOCPATH", commaLocalePath, 1);
    setenv("LC_ALL", commaLocale, 1);
    setenv("LANG", commaLocale, 1);
}

/// The decimal point that a program gets which asks for the locale.
std::string decimalPointOfTheLocale()
{
    makeCommaLocale();
    useCommaLocale();
    static_cast<void>(std::setlocale(LC_ALL, ""));
    std::string point = std::localeconv()->decimal_point;
    static_cast<void>(std::setlocale(LC_ALL, "C"));
    for (const char* const name : {"LOCPATH", "LC_ALL", "LANG"}) {
        unsetenv(name);
    }
    return point;
}

struct Update {
    RunResult run;
    std::string config;
};

Update updatePreparedBy(const std::function<void()>& prepare)
{
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    writeFile(configPath, R"({"App":{"isEncoder":false},"n":[1.5,-0.25e3,12345.678]})");
    Update update;
    update.run = appliance.run({configPath}, preparedBy(prepare));
    update.config = readFile(configPath);
    return update;
}

TEST(Surroundings, ALocaleWithADecimalCommaLeavesNumbersAndMessages)
{
    ASSERT_EQ(decimalPointOfTheLocale(), ",");
    const Update usual = updatePreparedBy([] {});
    const Update comma = updatePreparedBy(useCommaLocale);

    EXPECT_EQ(comma.run.status, 1);
    EXPECT_NE(comma.config.find("      1.5,\n"), std::string::npos) << comma.config;
    EXPECT_EQ(comma.config, usual.config);
    EXPECT_EQ(comma.run.out + comma.run.err, usual.run.out + usual.run.err);
    EXPECT_EQ(comma.run.log, usual.run.log);
}

class Umask : public testing::TestWithParam<mode_t> {};

TEST_P(Umask, DecidesTheModeOfTheNewFile)
{
    const mode_t mask = GetParam();
    Appliance appliance;
    writeFile(configPath, handwritten("false"));
    chmod(configPath.c_str(), 0600);

    EXPECT_EQ(appliance.run({configPath, "-enc"}, preparedBy([mask] { umask(mask); })).status, 1);

    struct stat status = {};
    ASSERT_EQ(lstat(configPath.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0666U & ~mask);
    EXPECT_EQ(status.st_uid, geteuid());
    EXPECT_EQ(readFile(configPath), rewritten("true"));
    EXPECT_EQ(namesIn(Appliance::directory), std::vector<std::string>{"config.json"});
}

INSTANTIATE_TEST_SUITE_P(, Umask, testing::Values(0000U, 0022U, 0077U, 0133U));

TEST(Surroundings, ARelativePathIsTakenFromTheCurrentDirectory)
{
    Appliance appliance;
    fs::create_directory("/appliance/sub");
    writeFile("/appliance/sub/config.json", handwritten("false"));

    const RunResult run =
        appliance.run({"config.json", "-enc"}, preparedBy([] {
                          static_cast<void>(chdir("/appliance/sub") == 0 || (std::abort(), true));
                      }));

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

// With -flip the switch decides nothing, but it is exported and made an input all the same.
TEST(SwitchLine, IsReleasedAndWaitedForWhateverDecides)
{
    for (const char* const parameter : {"-enc", "-dec", "-flip", "-query"}) {
        SCOPED_TRACE(parameter);
        Appliance appliance;
        appliance.setSwitch(Switch::low);
        writeFile("/sys/class/gpio/gpio17/direction", "out\n");
        writeFile(configPath, handwritten("false"));

        appliance.run({configPath, parameter});

        EXPECT_EQ(readFile("/sys/class/gpio/gpio17/direction"), "in");
    }
}

}  // namespace
