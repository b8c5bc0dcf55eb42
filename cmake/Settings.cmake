# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# The settings of all targets of this project. Warnings are errors only with
# CMAKE_COMPILE_WARNING_AS_ERROR, which the developer presets set and a plain build does not.

add_library(settings INTERFACE)
target_compile_features(settings INTERFACE cxx_std_20)
target_include_directories(settings INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wcast-qual -Wformat=2
  -Wnull-dereference -Wdouble-promotion -Wextra-semi -Wundef
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op>)

set(CMAKE_CXX_EXTENSIONS OFF)
# What is tested and measured. A packager's own flags belong in CMAKE_CXX_FLAGS, which stay.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

option(SWITCH_QUERIER_STATIC "Link the program statically, with the C and C++ libraries" OFF)

# Only optimised builds are hardened: _FORTIFY_SOURCE has no effect without optimisation, and
# sanitizers do their own checks.
set(hardened $<CONFIG:Release,MinSizeRel>)
target_compile_options(settings INTERFACE
  "$<${hardened}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>"
  "$<${hardened}:-ffile-prefix-map=${PROJECT_BINARY_DIR}=./build>"
  "$<${hardened}:-fstack-protector-strong;-fstack-clash-protection>"
  "$<${hardened}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>"
  $<${hardened}:-ffunction-sections> $<${hardened}:-fdata-sections>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
  target_compile_options(settings INTERFACE $<${hardened}:-fcf-protection>)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  target_compile_options(settings INTERFACE $<${hardened}:-mbranch-protection=standard>)
  # For Arm g++ 12 falsely reports the end of a vector in an assignment as a null pointer. The
  # builds for x86 keep the warning.
  target_compile_options(settings INTERFACE -Wno-null-dereference)
endif()
target_link_options(settings INTERFACE
  "$<${hardened}:-Wl,-z,relro,-z,now,-z,noexecstack;-Wl,--gc-sections>")

if(SWITCH_QUERIER_STATIC)
  # A position-independent static program relocates itself, which makes each start a third slower.
  target_compile_options(settings INTERFACE -fno-pie)
  target_link_options(settings INTERFACE -static -no-pie)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    # The linker assumes pages of 64 kB and pads for them; the appliance has pages of 4 kB.
    target_link_options(settings INTERFACE -Wl,-z,max-page-size=4096)
  endif()
else()
  # CMAKE_POSITION_INDEPENDENT_CODE is not enough: it does not affect how a program is linked.
  target_compile_options(settings INTERFACE
    $<$<IN_LIST:$<TARGET_PROPERTY:TYPE>,EXECUTABLE;STATIC_LIBRARY>:-fPIE>)
  target_link_options(settings INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>)
endif()

# Adds a leaf: its sources, and no other library of this project.
function(add_leaf name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PRIVATE settings)
endfunction()
