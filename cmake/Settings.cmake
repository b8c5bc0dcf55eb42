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

# A leaf: its sources, and no other library of ours.
function(add_leaf name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PRIVATE settings)
endfunction()
