# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# 32-bit Arm with hardware floating point (Debian's armhf) with Debian's cross compiler.
set(triplet arm-linux-gnueabihf)
set(emulator qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
