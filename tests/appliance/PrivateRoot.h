// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Moves the calling process, which must have one thread, and its future children into a private
/// root directory. The program under test uses fixed paths; there they lead to plain directories
/// that no other process sees and that vanish with this one:
///
///    /config /sys/class/gpio /dev /tmp /appliance     new and empty
///    /usr /bin /lib … /etc /proc                      the machine's
///    the directory of the running executable          at its own path
///
/// The current directory becomes /appliance.
///
/// This uses namespaces, as root or as an ordinary user. If they are refused, it runs the
/// executable again under proot(1). If that is missing, it prints an error and exits with 99. The
/// environment variable SWITCH_QUERIER_PROOT=1 selects proot in any case.
///
/// The process drops the capability to override file permissions, so that a read-only file is
/// read-only even if the test runs as root.
void enterPrivateRoot(char** argv);

/// Returns whether the private root is proot's. There nothing can be mounted, and only the user who
/// started proot can start a program.
bool isUnderProot();

/// Returns the size of the longest name that a file can have: 255 bytes, and 254 under proot.
std::size_t longestName();

/// Returns the directory of the running executable, which also holds the program under test.
const char* executableDirectory();

/// Replaces this process by the program, as execvp(3) does, with these words as argv. Exits with 99
/// on failure.
[[noreturn]] void becomeProgram(const std::string& program, const std::vector<std::string>& words);
