// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/stages/faults/RunKind.h"

/// One system call of a run.
struct SystemCall {
    std::string name;
    int ordinal;       ///< its number among the calls of this name, from 1
    std::string text;  ///< as strace(1) shows it
    bool ours;         ///< made by main or after it; before, it is the C library's start
};

/// The system calls of an undisturbed run of the kind.
std::vector<SystemCall> systemCallsOf(const RunKind& kind);

/// Runs with strace(1) tampering with the calls of this name; the fault is in strace's words, such
/// as "error=EIO:when=3+". No core file is left.
RunResult runWithFault(Appliance& appliance, const RunKind& kind, const std::string& name,
                       const std::string& fault);
