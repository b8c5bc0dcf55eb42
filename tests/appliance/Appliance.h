// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/appliance/SystemLog.h"

/// The state of the hardware switch, made of plain files that imitate the kernel's.
enum class Switch {
    low,         ///< line 17 exported, at level 0: selects encoder
    high,        ///< line 17 exported, at level 1: selects decoder
    notThere,    ///< no GPIO files at all: the line cannot be initialised
    unreadable,  ///< line 17 exported, but its value file is one byte short
};

/// The result of one run of the program.
struct RunResult {
    int status = -1;  ///< -1 if a signal ended it
    int signal = 0;
    std::string out;
    std::string err;
    std::vector<LogRecord> log;
};

/// How to run the program, if not in the default way.
struct RunOptions {
    /// argv[0].
    std::string name = "switch-querier";

    /// Called in the new process before it becomes the program.
    std::function<void()> prepare = {};

    /// Words to put before the program, such as those of a tracer.
    std::vector<std::string> wrapper = {};
};

/// An appliance of plain files in the private root (see enterPrivateRoot), and the program in it.
/// Only one can exist at a time; construction clears the files of the previous one.
class Appliance {
public:
    Appliance();
    ~Appliance();
    Appliance(const Appliance&) = delete;
    Appliance& operator=(const Appliance&) = delete;

    void setSwitch(Switch state);

    /// Leaves the line without files until the program exports it: they appear, at level 0 or 1,
    /// this long after "17" is written to the export file.
    void setSwitchOnExport(int level, std::chrono::milliseconds delay);

    /// Creates a marker file, "DECODER" or "ENCODER".
    void setMarker(const std::string& name);

    /// All that a run could change: the directories of the configuration file, of the marker files
    /// and of the switch.
    [[nodiscard]] static Tree files();

    /// Runs the program to its end. SIGALRM ends it after a minute, and so if it prints more than a
    /// pipe holds (pipe(7)); no core file is left.
    RunResult run(const std::vector<std::string>& arguments, const RunOptions& options = {});

    /// The directory of the configuration files.
    static constexpr char directory[] = "/appliance";
    static constexpr char gpioDirectory[] = "/sys/class/gpio";

    SystemLog systemLog;

private:
    void stopExporter();

    /// Creates the files of the line after the export. Stops when the switch is set again or the
    /// appliance is destroyed.
    std::thread exporter;
    std::atomic<bool> stopped = false;
};
