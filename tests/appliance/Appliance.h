// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/appliance/SystemLog.h"

/// The hardware switch, as plain files that imitate the kernel's.
enum class Switch {
    low,         ///< line 17 exported, at level 0: selects Encoder
    high,        ///< at level 1: selects Decoder
    notThere,    ///< no GPIO files at all, so that the line cannot be initialised
    unreadable,  ///< exported, but its value file holds a byte too few
};

/// What one run of the program left behind.
struct RunResult {
    int status = -1;  ///< -1 where a signal ended it
    int signal = 0;
    std::string out;
    std::string err;
    std::vector<LogRecord> log;
};

/// How to run the program, where it is not as usual.
struct RunOptions {
    /// argv[0].
    std::string name = "switch-querier";

    /// What the new process does before it becomes the program.
    std::function<void()> prepare;

    /// Words to put before the program, of a tracer say.
    std::vector<std::string> wrapper;
};

/// An appliance of plain files in the private root (see enterPrivateRoot), and the program in it.
/// There can be one at a time; making one clears what the one before left.
class Appliance {
public:
    Appliance();

    void setSwitch(Switch state);

    /// The line's files do not exist yet: they appear, at level 0 or 1, this long after "17" has
    /// been written to the export file.
    void setSwitchOnExport(int level, std::chrono::milliseconds delay);

    /// Makes a marker file; "DECODER" or "ENCODER".
    void setMarker(const std::string& name);

    /// Runs the program to its end, or kills it by SIGALRM after a minute.
    RunResult run(const std::vector<std::string>& arguments, const RunOptions& options = {});

    /// Where configuration files stand.
    static constexpr char folder[] = "/appliance";
    static constexpr char gpioFolder[] = "/sys/class/gpio";

    SystemLog systemLog;

private:
    /// Makes the line's files after the export; stops when the appliance goes or is set anew.
    std::jthread exporter;
};
