# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# 64-bit Arm with Debian's cross compiler.
set(triplet aarch64-linux-gnu)
set(emulator qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
