// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/Scenario.h"

// What injects a fault into a run: strace(1), or an object that is preloaded.

/// One system call of a run.
struct SystemCall {
    std::string name;
    int ordinal;       ///< its number among the calls of this name, from 1
    std::string text;  ///< as strace(1) shows it
    bool ours;         ///< made by main or after it; before, it is the C library's start
};

/// The system calls of a run of the scenario without a fault.
std::vector<SystemCall> systemCallsOf(const Scenario& scenario);

/// Injects a fault into the calls of this name, in strace's syntax: for example
/// "error=EIO:when=3+".
RunOptions withFault(const std::string& name, const std::string& fault);

/// Fails the calls of this kind, which preload.cpp says, from the first to the last of these
/// ordinals.
RunOptions withFailing(const std::string& kind, int first, int last);

/// How many calls of this kind a run of the scenario makes without a fault.
int callsOf(const Scenario& scenario, const std::string& kind);
