// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/SystemLog.h"

/// The reference that the tests compare the product with: what a run decides, prints, logs, writes
/// and returns for given sources. It uses nothing of the product, so that no test compares the
/// product with itself, and of all tests only this one words a message.
///
/// A mode is the number that a run exits with: 0 for decoder, 1 for encoder; -1 is none.
namespace expected {

/// What decides the mode, strongest first.
struct Deciders {
    int parameter = -1;  ///< 0 or 1 for a forced mode, 2 for a flip, -1 for none
    int markerFile = -1;
    int hardware = -1;
};

/// The mode that is decided, given the one that the configuration file records.
[[nodiscard]] constexpr int mode(const Deciders& deciders, int recorded)
{
    if (deciders.parameter == 2) {
        return 1 - recorded;
    }
    for (const int decided : {deciders.parameter, deciders.markerFile, deciders.hardware}) {
        if (decided >= 0) {
            return decided;
        }
    }
    return -1;
}

struct Parameter {
    std::string name;
    int value;   ///< what it decides, see Deciders
    bool query;  ///< whether it forbids writing
};

/// The second parameters, and the marker files in /config with their modes, strongest first. Tests
/// of all combinations go by these lists; lists.py compares them with the product.
inline const std::vector<Parameter> parameters = {
    {"-enc", 1, false}, {"-dec", 0, false}, {"-flip", 2, false}, {"-query", -1, true}};
struct MarkerFile {
    std::string name;
    int mode;
};
inline const std::vector<MarkerFile> markerFiles = {{"DECODER", 0}, {"ENCODER", 1}};

/// The name of a mode, or the text for none.
[[nodiscard]] std::string modeName(int mode, const std::string& none = "");

/// How a run fails: its exit status, and its line in the error log without the newline.
struct Failure {
    int status;
    std::string message;
};

[[nodiscard]] Failure unknownParameter();
[[nodiscard]] Failure parameterAfterQuery();
[[nodiscard]] Failure unreadable(const std::string& path);
[[nodiscard]] Failure syntaxError(std::uint64_t position, int code);
[[nodiscard]] Failure flagMissing();
[[nodiscard]] Failure flagNotBoolean();
[[nodiscard]] Failure nothingDecides();
[[nodiscard]] Failure notOpened();
[[nodiscard]] Failure notWritten(int code);  ///< 1 for the write, -3 for the rename

/// The messages that do not end a run, and those of its success, likewise without the newline.
[[nodiscard]] std::string cannotInitSwitch();
[[nodiscard]] std::string cannotReadSwitch();
[[nodiscard]] std::string updated(int mode);
[[nodiscard]] std::string notNeeded(int mode);

/// The banner and the usage text.
[[nodiscard]] std::string usage(const std::string& programName);

using Lines = std::vector<std::string>;

/// The lines of the status report, each with its newline. Without a recorded or a new mode their
/// lines are left out; -1 is shown as unknown.
[[nodiscard]] Lines report(const Deciders& deciders, std::optional<int> recorded = {},
                           std::optional<int> newMode = {});

/// A configuration file as a run finds it.
struct Configuration {
    std::string text = {};
    int mode = -1;                        ///< the one that it records
    std::string rewritten = {};           ///< what a run that changes the mode puts in its place
    std::optional<Failure> refusal = {};  ///< why no run can update it; then mode is of no meaning
};

/// What an update does by itself: each line with its newline.
struct Update {
    int status;
    Lines error;
    Lines info;
    Lines report;
    std::string configuration;  ///< the bytes of the file afterwards
    bool writes = false;        ///< whether it tries to replace the file
};

/// The writing, if there is one, fails as given.
[[nodiscard]] Update update(const Deciders& deciders, bool query,
                            const Configuration& configuration,
                            const std::optional<Failure>& writing = {});

/// All that a run depends on.
struct Sources {
    std::vector<std::string> arguments = {};
    std::set<std::string> markers = {};  ///< the names of the marker files that are there
    Switch hardware = Switch::notThere;
    Configuration configuration = {};
    std::optional<Failure> writing = {};  ///< how writing the file fails, if it does
    std::string programName = "switch-querier";
};

struct Run {
    int status = -1;
    std::string out;
    std::string err;
    std::vector<LogRecord> log;
    std::string configuration;  ///< the bytes of the configuration file afterwards
    bool writes = false;        ///< whether it tries to replace the file
};

[[nodiscard]] Run run(const Sources& sources);

}  // namespace expected
