#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Runs a command as on a kernel that has no statx(2), which came with Linux 4.11: older proots do
not translate its paths, and C libraries for 32 bits use it for every file.

usage: without-statx.py COMMAND...
"""

import errno
import os
import sys

import seccomp

calls = seccomp.SyscallFilter(seccomp.ALLOW)
# Proot cancels a call by giving it a number that no architecture has.
calls.set_attr(seccomp.Attr.ACT_BADARCH, seccomp.ALLOW)
calls.add_rule(seccomp.ERRNO(errno.ENOSYS), "statx")
calls.load()
os.execvp(sys.argv[1], sys.argv[1:])
