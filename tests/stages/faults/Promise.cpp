// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/faults/Promise.h"

#include <sys/stat.h>
#include <syslog.h>

#include <filesystem>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"

namespace fs = std::filesystem;

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

void addTo(Tree& tree, const fs::path& path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0) {
        return;
    }
    if (S_ISLNK(status.st_mode)) {
        tree[path] = "link to " + fs::read_symlink(path).string();
    } else if (S_ISREG(status.st_mode)) {
        tree[path] = fileWith(readFile(path));
    } else if (S_ISDIR(status.st_mode)) {
        tree[path] = "folder";
        chmod(path.c_str(), 0755);  // the program may be kept from listing it, but not the test
        for (const std::string& name : namesIn(path)) {
            addTo(tree, path / name);
        }
        chmod(path.c_str(), status.st_mode);
    } else {
        tree[path] = "neither file nor folder";
    }
}

/// What may stand under the temporary name.
enum class Temporary { none, anything, complete };

/// What a run can come to.
struct Outcome {
    int status;
    std::string out;
    std::string err;
    std::vector<LogRecord> log;
    bool replaced = false;
    Temporary temporary = Temporary::none;
};

std::string reportOf(const RunKind& kind, const std::string& hardware, const std::string& newMode)
{
    return "Hardware switch: " + hardware + "\n" +       //
           "Config file    : " + kind.fileMode + "\n" +  //
           "Override parm  : " +                         //
           (kind.flips() ? "Flipped to " + newMode : "None") + "\n" +
           "Override file  : None\n" +  //
           "New setting    : " + newMode + "\n";
}

/// All that a run of the kind can come to when the switch shows this error, the undisturbed one
/// last.
std::vector<Outcome> outcomesOf(const RunKind& kind, const std::string& switchError)
{
    std::vector<Outcome> outcomes;
    std::string err;
    std::vector<LogRecord> log;
    const auto logError = [&err, &log](const std::string& text) {
        err += "ERROR: " + text;
        log.push_back({LOG_ERR, "switch-querier", text});
    };
    const auto failure = [&](int status, const std::string& text,
                             Temporary temporary = Temporary::none) {
        outcomes.push_back({status, "", err + "ERROR: " + text, log, false, temporary});
        outcomes.back().log.push_back({LOG_ERR, "switch-querier", text});
    };

    if (!switchError.empty()) {
        logError(switchError);
    }
    failure(163, "Cannot read Json config file '" + configPath + "'\n");
    failure(174, "Cannot decode Json at position 0, code -1\n");
    if (kind.fileMode.empty()) {
        failure(174, "Cannot decode Json at position 24, code -5\n");
        return outcomes;
    }

    const std::string hardware = switchError.empty() ? "Encoder" : "Could not be determined";
    std::string newMode = switchError.empty() ? "Encoder" : "Not specified";
    if (kind.flips()) {
        newMode = kind.fileMode == "Encoder" ? "Decoder" : "Encoder";
    }
    err += reportOf(kind, hardware, newMode);
    if (kind.queries()) {
        outcomes.push_back({0, "", err, log});
        return outcomes;
    }
    if (newMode == "Not specified") {
        failure(210, "No hardware or user setting known.\n");
        return outcomes;
    }
    const int mode = newMode == "Encoder" ? 1 : 0;
    if (newMode == kind.fileMode) {
        const std::string text = "Config file update to " + newMode + " mode not needed.\n";
        log.push_back({LOG_INFO, "switch-querier", text});
        outcomes.push_back({mode, text, err, log});
        return outcomes;
    }
    failure(226, "Cannot open Json file for writing, code -1\n", Temporary::anything);
    failure(236, "Cannot write Json file, code 1\n", Temporary::anything);
    failure(236, "Cannot write Json file, code -3\n", Temporary::complete);
    const std::string text = "Config file successfully updated to " + newMode + " mode\n";
    log.push_back({LOG_INFO, "switch-querier", text});
    outcomes.push_back({mode, text, err, log, true});
    return outcomes;
}

/// Whether the trees differ only where a run may change them at any time.
bool agreeAsideFromTheConfig(const Tree& before, const Tree& after)
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

bool leaves(const RunKind& kind, const Outcome& outcome, const Tree& before, const Tree& after)
{
    if (at(after, configPath) != fileWith(outcome.replaced ? kind.after : kind.before)) {
        return false;
    }
    const std::string temporary = at(after, temporaryPath);
    switch (outcome.temporary) {
    case Temporary::none:
        // A run that did not come as far as to open it leaves what an earlier one left.
        return temporary == (outcome.replaced ? nothing : at(before, temporaryPath));
    case Temporary::complete:
        return temporary == fileWith(kind.after);
    case Temporary::anything:
        return temporary == nothing || temporary.starts_with("file: ");
    }
    return false;
}

std::ostream& operator<<(std::ostream& out, const Tree& tree)
{
    for (const auto& [path, what] : tree) {
        out << "    " << path << " is " << what.substr(0, 300) << '\n';
    }
    return out;
}

testing::AssertionResult broken(const std::string& what, const RunResult& run, const Tree& after)
{
    testing::AssertionResult result = testing::AssertionFailure();
    result << what << ", status " << run.status << ", signal " << run.signal
           << "\n  out: " << run.out << "\n  err: " << run.err << "\n  log:\n";
    for (const LogRecord& record : run.log) {
        result << "    " << record << '\n';
    }
    std::ostringstream tree;
    tree << after;
    return result << "  files:\n" << tree.str();
}

}  // namespace

Tree treeNow()
{
    Tree tree;
    for (const char* folder : {Appliance::directory, "/config", "/sys/class"}) {
        addTo(tree, folder);
    }
    return tree;
}

std::set<int> statusesOf(const RunKind& kind)
{
    std::set<int> statuses;
    for (const std::string& switchError : kind.switchErrors) {
        for (const Outcome& outcome : outcomesOf(kind, switchError)) {
            statuses.insert(outcome.status);
        }
    }
    return statuses;
}

testing::AssertionResult keepsPromise(const RunKind& kind, const RunResult& run, const Tree& before,
                                      const Excuse& excuse)
{
    const Tree after = treeNow();
    if (!agreeAsideFromTheConfig(before, after)) {
        return broken("strange files", run, after);
    }
    if (run.signal != 0) {
        if (run.signal != excuse.signal) {
            return broken("ended by a signal", run, after);
        }
        const std::string config = at(after, configPath);
        const bool temporaryMayBe = kind.writes() &&
                                    at(after, temporaryPath).starts_with("file: ") &&
                                    config != fileWith(kind.after);
        if (config != fileWith(kind.before) && config != fileWith(kind.after)) {
            return broken("torn", run, after);
        }
        if (at(after, temporaryPath) != at(before, temporaryPath) && !temporaryMayBe) {
            return broken("strange temporary file", run, after);
        }
        return testing::AssertionSuccess();
    }
    std::string nearest = "not a status of this kind of run";
    for (const std::string& switchError : kind.switchErrors) {
        for (const Outcome& outcome : outcomesOf(kind, switchError)) {
            if (run.status != outcome.status) {
                continue;
            }
            const bool files = leaves(kind, outcome, before, after);
            const bool console =
                (run.out == outcome.out && run.err == outcome.err) || excuse.console;
            const bool log = run.log == outcome.log || excuse.log;
            if (files && console && log) {
                return testing::AssertionSuccess();
            }
            nearest = "files, console and log do not go with the status";
        }
    }
    return broken(nearest, run, after);
}

testing::AssertionResult comesToItsEnd(const RunKind& kind, const RunResult& run,
                                       const Tree& before)
{
    const Tree after = treeNow();
    const Outcome outcome = outcomesOf(kind, kind.switchErrors.front()).back();
    const bool direction =
        !before.contains(directionPath) || at(after, directionPath) == fileWith("in");
    if (run.status == outcome.status && run.status == kind.status && run.out == outcome.out &&
        run.err == outcome.err && run.log == outcome.log &&
        agreeAsideFromTheConfig(before, after) && leaves(kind, outcome, before, after) &&
        direction) {
        return testing::AssertionSuccess();
    }
    return broken("not as a run without a fault", run, after);
}

testing::AssertionResult isRepairedByTheNextRun(const RunKind& kind, Appliance& appliance,
                                                std::set<Tree>& seen)
{
    const Tree before = treeNow();
    if (!seen.insert(before).second) {
        return testing::AssertionSuccess();
    }
    const bool replaced = kind.writes() && at(before, configPath) == fileWith(kind.after);
    const RunKind now = replaced ? nextOf(kind) : kind;
    const RunResult run = appliance.run(now.arguments);
    testing::AssertionResult result = comesToItsEnd(now, run, before);
    if (result && at(treeNow(), temporaryPath) != nothing) {
        return broken("the temporary file is left", run, treeNow());
    }
    return result;
}
