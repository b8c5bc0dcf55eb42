// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// Moves the calling process, which must have one thread, and the children that it makes from now
/// on, into a root folder of their own. The program under test uses fixed paths; there they lead
/// to plain folders that nobody else sees and that vanish with the process:
///
///    /config /sys/class/gpio /dev /tmp /appliance     new and empty; the last is the current folder
///    /usr /bin /lib … /etc /proc                      the machine's
///    the folder of the running executable             at its own path
///
/// It is done with namespaces, as root or as an ordinary user; where they are refused, by running
/// the executable anew under proot(1). Where that is missing too, it says so and exits with 99.
/// SWITCH_QUERIER_PROOT=1 in the environment has it use proot in any case.
///
/// The process gives up the right to override file permissions, so that a test finds a read-only
/// file read-only also when it runs as root.
void enterPrivateRoot(char** argv);

/// The folder of the running executable; the program under test stands in it.
const char* executableFolder();
