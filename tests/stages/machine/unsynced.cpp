// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// Linked with --wrap=fsync (ld(1)) in place of fsync(2): a program that syncs nothing, which the
// power cuts must detect.
extern "C" int __wrap_fsync(int descriptor);  // NOLINT(bugprone-reserved-identifier)

int __wrap_fsync(int)
{
    return 0;
}
