# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# The settings of all targets of this project. Warnings are errors only with
# CMAKE_COMPILE_WARNING_AS_ERROR, which the developer presets set and a plain build does not.

add_library(switch-querier-settings INTERFACE)
target_compile_features(switch-querier-settings INTERFACE cxx_std_20)
target_include_directories(switch-querier-settings INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(switch-querier-settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wcast-qual -Wformat=2
  -Wnull-dereference -Wdouble-promotion -Wextra-semi -Wundef
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op>)

set(CMAKE_CXX_EXTENSIONS OFF)

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # glibc's times and sizes of files have 32 bits there, unless a program asks for more
  # (feature_test_macros(7)).
  target_compile_definitions(switch-querier-settings INTERFACE
                             _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

# -O2 is what is tested and measured. It replaces CMake's own -O3, but no level that the caller, a
# toolchain file or an enclosing project sets.
if(top_level AND CMAKE_CXX_FLAGS_RELEASE STREQUAL "-O3 -DNDEBUG")
  if(CMAKE_CXX_FLAGS MATCHES "(^| )-O")
    set(CMAKE_CXX_FLAGS_RELEASE "-DNDEBUG")
  else()
    set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
  endif()
endif()

option(SWITCH_QUERIER_STATIC "Link the program statically, with the C and C++ libraries" OFF)

# Only optimised builds are hardened: _FORTIFY_SOURCE has no effect without optimisation, and
# sanitizers do their own checks.
set(hardened $<OR:$<CONFIG:Release>,$<CONFIG:MinSizeRel>>)
set(callersFlags
    " ${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_RELEASE} ${CMAKE_CXX_FLAGS_MINSIZEREL}")

# For most processors clang accepts the option and warns that it is unused.
include(CheckCXXCompilerFlag)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_REQUIRED_FLAGS -Werror)
check_cxx_compiler_flag(-fstack-clash-protection switch_querier_stack_clash_protection)
unset(CMAKE_REQUIRED_FLAGS)
unset(CMAKE_TRY_COMPILE_TARGET_TYPE)

# Adds options to hardened builds, unless a flag of the caller matches the pattern: options of a
# target follow the caller's flags on the command line, where the last one counts.
function(switch_querier_harden pattern)
  if(NOT callersFlags MATCHES "${pattern}")
    target_compile_options(switch-querier-settings INTERFACE "$<${hardened}:${ARGN}>")
  endif()
endfunction()

switch_querier_harden(" -f(file|debug|macro)-prefix-map="
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=./build)
switch_querier_harden(" -f(no-)?stack-protector" -fstack-protector-strong)
if(switch_querier_stack_clash_protection)
  switch_querier_harden(" -f(no-)?stack-clash-protection" -fstack-clash-protection)
endif()
switch_querier_harden("_FORTIFY_SOURCE" -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
switch_querier_harden(" -f(no-)?function-sections" -ffunction-sections)
switch_querier_harden(" -f(no-)?data-sections" -fdata-sections)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
  switch_querier_harden(" -fcf-protection" -fcf-protection)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  switch_querier_harden(" -mbranch-protection" -mbranch-protection=standard)
  # For Arm g++ 12 falsely reports the end of a vector in an assignment as a null pointer. The
  # builds for x86 keep the warning.
  target_compile_options(switch-querier-settings INTERFACE -Wno-null-dereference)
endif()
target_link_options(switch-querier-settings INTERFACE
  "$<${hardened}:-Wl,-z,relro,-z,now,-z,noexecstack;-Wl,--gc-sections>")

if(SWITCH_QUERIER_STATIC)
  # A position-independent static program relocates itself, which makes each start a third slower.
  target_compile_options(switch-querier-settings INTERFACE -fno-pie)
  target_link_options(switch-querier-settings INTERFACE -static)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Some g++ link "-static-pie" by default. For clang -static says it already.
    target_link_options(switch-querier-settings INTERFACE -no-pie)
  endif()
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    # The linker assumes pages of 64 kB and pads for them; the appliance has pages of 4 kB.
    target_link_options(switch-querier-settings INTERFACE -Wl,-z,max-page-size=4096)
  endif()
elseif(NOT "${callersFlags} ${CMAKE_EXE_LINKER_FLAGS}" MATCHES
       " -(no-pie|fno-pie|fno-PIE|nopie)( |$)")
  # CMAKE_POSITION_INDEPENDENT_CODE is not enough: it does not affect how a program is linked. For
  # -pie the manual of GCC asks for the option of the compilation, too.
  target_compile_options(switch-querier-settings INTERFACE
    $<$<IN_LIST:$<TARGET_PROPERTY:TYPE>,EXECUTABLE;STATIC_LIBRARY>:-fPIE>)
  target_link_options(switch-querier-settings INTERFACE
    "$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-fPIE;-pie>")
endif()

# Adds a library of this project: static whatever BUILD_SHARED_LIBS says, because it is not
# installed.
function(switch_querier_library name)
  add_library(switch-querier-${name} STATIC ${ARGN})
  target_link_libraries(switch-querier-${name} PRIVATE switch-querier-settings)
endfunction()
