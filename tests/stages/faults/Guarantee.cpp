// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/faults/Guarantee.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

namespace {

const std::string temporaryPath = configPath + ".filsec";
const std::string directionPath = "/sys/class/gpio/gpio17/direction";
const std::string exportPath = "/sys/class/gpio/export";
const std::string nothing = "nothing";

std::string fileWith(const std::string& text)
{
    return "file: " + text;
}

std::string at(const Tree& tree, const std::string& path)
{
    const auto found = tree.find(path);
    return found == tree.end() ? nothing : found->second;
}

/// What may have the temporary name.
enum class Temporary { none, anything, complete };

/// One result that a run can have.
struct Outcome {
    expected::Run run;
    Temporary temporary = Temporary::none;
};

/// All results that a run of the scenario can have with the switch in this state, the one without
/// another fault last.
std::vector<Outcome> outcomesOf(const Scenario& scenario, Switch hardware)
{
    expected::Sources sources = scenario.sources;
    sources.hardware = hardware;
    const expected::Run usual = expected::run(sources);
    std::vector<Outcome> outcomes;

    // A file that cannot be read after it was opened looks like an empty one.
    expected::Sources refused = sources;
    for (const expected::Failure& failure :
         {expected::unreadable(configPath), expected::syntaxError(0, -1)}) {
        refused.configuration.refusal = failure;
        outcomes.push_back({expected::run(refused)});
    }
    if (usual.writes) {
        const auto fail = [&](const expected::Failure& failure, Temporary temporary) {
            sources.writing = failure;
            outcomes.push_back({expected::run(sources), temporary});
        };
        fail(expected::notOpened(), Temporary::anything);
        fail(expected::notWritten(1), Temporary::anything);
        fail(expected::notWritten(-3), Temporary::complete);
    }
    outcomes.push_back({usual});
    return outcomes;
}

/// Whether the trees differ only in files that a run may change at any time.
bool agreeExceptForTheFile(const Tree& before, const Tree& after)
{
    Tree allowed = before;
    allowed[configPath] = at(after, configPath);
    if (after.contains(temporaryPath)) {
        allowed[temporaryPath] = after.at(temporaryPath);
    } else {
        allowed.erase(temporaryPath);
    }
    const std::map<std::string, std::string> written = {{directionPath, "in"}, {exportPath, "17"}};
    for (const auto& [path, text] : written) {
        const std::string now = at(after, path);
        if (before.contains(path) && (now == fileWith("") || now == fileWith(text))) {
            allowed[path] = now;
        }
    }
    return allowed == after;
}

bool leaves(const Scenario& scenario, const Outcome& outcome, const Tree& before, const Tree& after)
{
    if (at(after, configPath) != fileWith(outcome.run.configuration)) {
        return false;
    }
    const std::string temporary = at(after, temporaryPath);
    switch (outcome.temporary) {
    case Temporary::none: {
        // A run that has not opened it leaves what an earlier one left.
        const bool replaced = outcome.run.configuration != scenario.before();
        return temporary == (replaced ? nothing : at(before, temporaryPath));
    }
    case Temporary::complete:
        return temporary == fileWith(scenario.after());
    case Temporary::anything:
        return temporary == nothing || temporary.starts_with("file: ");
    }
    return false;
}

testing::AssertionResult broken(const std::string& what, const RunResult& run, const Tree& after)
{
    testing::AssertionResult result = testing::AssertionFailure();
    result << what << ", status " << run.status << ", signal " << run.signal
           << "\n  out: " << run.out << "\n  err: " << run.err << "\n  log:\n";
    for (const LogRecord& record : run.log) {
        result << "    " << record << '\n';
    }
    result << "  files:\n";
    for (const auto& [path, file] : after) {
        result << "    " << path << " is " << file.substr(0, 300) << '\n';
    }
    return result;
}

testing::AssertionResult holdsGuarantee(const Scenario& scenario, const RunResult& run,
                                        const Tree& before, const Tolerance& tolerance)
{
    const Tree after = Appliance::files();
    if (!agreeExceptForTheFile(before, after)) {
        return broken("unexpected files", run, after);
    }
    if (run.signal != 0) {
        if (run.signal != tolerance.signal) {
            return broken("ended by a signal", run, after);
        }
        const std::string config = at(after, configPath);
        const bool temporaryMayBe = scenario.writes() &&
                                    at(after, temporaryPath).starts_with("file: ") &&
                                    config != fileWith(scenario.after());
        if (config != fileWith(scenario.before()) && config != fileWith(scenario.after())) {
            return broken("torn", run, after);
        }
        if (at(after, temporaryPath) != at(before, temporaryPath) && !temporaryMayBe) {
            return broken("unexpected temporary file", run, after);
        }
        return testing::AssertionSuccess();
    }
    std::string nearest = "not a status of this scenario";
    for (const Switch hardware : scenario.switches) {
        for (const Outcome& outcome : outcomesOf(scenario, hardware)) {
            if (run.status != outcome.run.status) {
                continue;
            }
            const bool files = leaves(scenario, outcome, before, after);
            const bool console =
                (run.out == outcome.run.out && run.err == outcome.run.err) || tolerance.console;
            const bool log = run.log == outcome.run.log || tolerance.log;
            if (files && console && log) {
                return testing::AssertionSuccess();
            }
            nearest = "files, console and log do not match the status";
        }
    }
    return broken(nearest, run, after);
}

testing::AssertionResult endsAsExpected(const Scenario& scenario, const RunResult& run,
                                        const Tree& before)
{
    const Tree after = Appliance::files();
    const Outcome outcome = outcomesOf(scenario, scenario.switches.front()).back();
    const bool direction =
        !before.contains(directionPath) || at(after, directionPath) == fileWith("in");
    if (run.status == outcome.run.status && run.out == outcome.run.out &&
        run.err == outcome.run.err && run.log == outcome.run.log &&
        agreeExceptForTheFile(before, after) && leaves(scenario, outcome, before, after) &&
        direction) {
        return testing::AssertionSuccess();
    }
    return broken("not as expected without a fault", run, after);
}

}  // namespace

std::set<int> statusesOf(const Scenario& scenario)
{
    std::set<int> statuses;
    for (const Switch hardware : scenario.switches) {
        for (const Outcome& outcome : outcomesOf(scenario, hardware)) {
            statuses.insert(outcome.run.status);
        }
    }
    return statuses;
}

FaultyRun::FaultyRun(const Scenario& kind) : scenario(kind)
{
    arrange(scenario, appliance);
}

RunResult FaultyRun::run(const RunOptions& options, const Tolerance& tolerance)
{
    const Tree before = Appliance::files();
    const RunResult run = appliance.run(scenario.arguments(), options);
    EXPECT_TRUE(holdsGuarantee(scenario, run, before, tolerance));
    return run;
}

void FaultyRun::expectRecovery()
{
    static std::set<std::pair<std::string, Tree>> tried;
    const Tree before = Appliance::files();
    if (!tried.insert({scenario.name, before}).second) {
        return;
    }
    const bool replaced = scenario.writes() && at(before, configPath) == fileWith(scenario.after());
    const Scenario now = replaced ? nextOf(scenario) : scenario;
    const RunResult run = appliance.run(now.arguments());
    EXPECT_TRUE(endsAsExpected(now, run, before));
    EXPECT_EQ(at(Appliance::files(), temporaryPath), nothing);
}
