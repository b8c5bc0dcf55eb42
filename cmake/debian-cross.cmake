# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Debian's cross compiler for the triplet. The programs run on the build machine under the emulator,
# one of package qemu-user.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES triplet emulator)
set(CMAKE_SYSTEM_NAME Linux)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${triplet})
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR "${emulator};-L;/usr/${triplet}")

set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
