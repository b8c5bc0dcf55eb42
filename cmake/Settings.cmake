# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# What all our own targets are built with. Warnings become errors through
# CMAKE_COMPILE_WARNING_AS_ERROR, which the developers' presets set and a plain build does not.

add_library(settings INTERFACE)
target_compile_features(settings INTERFACE cxx_std_20)
target_include_directories(settings INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wcast-qual -Wformat=2
  -Wnull-dereference -Wdouble-promotion -Wextra-semi -Wundef
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op>)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

option(SWITCH_QUERIER_STATIC "Link the C and C++ libraries into the program too" OFF)

# Optimised programs are hardened; the C library fortifies its calls only where it is optimised, and
# the sanitizers have means of their own.
set(hardened $<CONFIG:Release,MinSizeRel>)
target_compile_options(settings INTERFACE
  "$<${hardened}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>"
  "$<${hardened}:-ffile-prefix-map=${PROJECT_BINARY_DIR}=./build>"
  "$<${hardened}:-fstack-protector-strong;-fstack-clash-protection;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>"
  $<${hardened}:-ffunction-sections> $<${hardened}:-fdata-sections>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
  target_compile_options(settings INTERFACE $<${hardened}:-fcf-protection>)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  target_compile_options(settings INTERFACE $<${hardened}:-mbranch-protection=standard>)
  # For Arm g++ 12 takes the end of a vector that is assigned for a null pointer. What there is to be
  # found the builds for x86 find.
  target_compile_options(settings INTERFACE -Wno-null-dereference)
endif()
target_link_options(settings INTERFACE
  "$<${hardened}:-Wl,-z,relro,-z,now,-z,noexecstack;-Wl,--gc-sections>")

if(SWITCH_QUERIER_STATIC)
  # Position independent it would cost a third more at each start, for relocating itself.
  target_compile_options(settings INTERFACE -fno-pie)
  target_link_options(settings INTERFACE -static -no-pie)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    # The linker assumes pages of 64 kB and pads for them; the appliance has pages of 4 kB.
    target_link_options(settings INTERFACE -Wl,-z,max-page-size=4096)
  endif()
else()
  # Not left to CMAKE_POSITION_INDEPENDENT_CODE, which says nothing of a program's linking.
  target_compile_options(settings INTERFACE
    $<$<IN_LIST:$<TARGET_PROPERTY:TYPE>,EXECUTABLE;STATIC_LIBRARY>:-fPIE>)
  target_link_options(settings INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>)
endif()

# A leaf: its sources, and no other library of ours.
function(add_leaf name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PRIVATE settings)
endfunction()
