#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds the program in every variant that others may choose; see README.md.
# usage: run.sh [VARIANT]
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
top=$PWD
work=$PWD/build/builds
log=$work/build.log
only=${1:-}
tried=0
failed=0
rm -rf "$work"
mkdir -p "$work"

fail() {
    echo "builds: $name: $*"
    failed=1
}

# usage: check PROGRAM; fails on a warning of the build, and if the program does not start.
check() {
    ! grep -E 'warning:|CMake Warning' "$log" || fail "warns"
    status=0
    "$1" >/dev/null 2>&1 || status=$?
    # The status of a call without parameters.
    [ "$status" -eq 96 ] || fail "ends with $status"
}

# usage: wanted NAME; whether this variant is to be tried.
wanted() {
    name=$1
    [ -z "$only" ] || [ "$only" = "$name" ] || return 1
    tried=$((tried + 1))
}

# usage: installs [CMAKE-ARGUMENT…]; installs the last build, and checks which files there are, and
# the installed program, which does not find what is only in the directory of the build.
installs() {
    DESTDIR=$work/root
    export DESTDIR
    rm -rf "$DESTDIR"
    step installing cmake --install "$work/$name" "$@"
    (cd "$DESTDIR" && find . -type f | LC_ALL=C sort) >"$work/files"
    diff "$top/tests/checks/docs/installed.txt" "$work/files" || fail "installs other files"
    check "$DESTDIR/usr/sbin/switch-querier"
}

# usage: optimised_only DIRECTORY LEVEL; fails if some source of ours is compiled with another one.
optimised_only() {
    find "$1" -name flags.make -path '*/switch-querier*' >"$work/flags-of-targets"
    [ -s "$work/flags-of-targets" ] || fail "has no targets of ours"
    while read -r flags; do
        [ "$(grep -oE ' -O[^ ]*' "$flags" | sort -u)" = " $2" ] || fail "$flags: not only $2"
    done <"$work/flags-of-targets"
}

# usage: variant NAME CMAKE-ARGUMENT…
variant() {
    wanted "$1" || return 0
    shift
    build "$work/$name" -S "$top" -D CMAKE_INSTALL_PREFIX=/usr "$@"
    check "$work/$name/switch-querier"
    installs
}

variant shared -D BUILD_SHARED_LIBS=ON
variant static -D SWITCH_QUERIER_STATIC=ON
variant clang -D CMAKE_CXX_COMPILER=clang++
variant clang-static -D CMAKE_CXX_COMPILER=clang++ -D SWITCH_QUERIER_STATIC=ON
variant ninja -G Ninja
variant MinSizeRel -D CMAKE_BUILD_TYPE=MinSizeRel
variant RelWithDebInfo -D CMAKE_BUILD_TYPE=RelWithDebInfo
variant Debug -D CMAKE_BUILD_TYPE=Debug
# docs.ImageBuild of ./test has the level of optimisation among the flags of all build types.
variant flags -D CMAKE_CXX_FLAGS="-D_FORTIFY_SOURCE=3 -fno-stack-protector -fno-pie" \
    -D CMAKE_CXX_FLAGS_RELEASE="-Os -DNDEBUG" -D CMAKE_EXE_LINKER_FLAGS=-no-pie
if [ -d "$work/flags" ]; then
    optimised_only "$work/flags" -Os
    objects=$(find "$work/flags" -name '*.o' -path '*.dir/*')
    # Each object is an argument of its own.
    # shellcheck disable=SC2086
    ! readelf -sW $objects | grep __stack_chk_fail >/dev/null || fail "the stack protector is on"
    readelf -hW "$work/flags/switch-querier" | grep -q 'Type: *EXEC' || fail "is a PIE"
fi

if wanted multi-config; then
    build "$work/$name" -S "$top" -G "Ninja Multi-Config" -D CMAKE_INSTALL_PREFIX=/usr
    for config in Release Debug; do
        step building cmake --build "$work/$name" --config "$config"
        check "$work/$name/$config/switch-querier"
        installs --config "$config"
    done
fi

# The components together are everything.
if wanted components; then
    build "$work/$name" -S "$top" -D CMAKE_INSTALL_PREFIX=/usr
    : >"$work/all"
    for component in runtime documentation examples; do
        DESTDIR=$work/$component
        export DESTDIR
        step installing cmake --install "$work/$name" --component "$component"
        (cd "$DESTDIR" && find . -type f) >>"$work/all"
        [ -n "$(find "$DESTDIR" -type f)" ] || fail "the component $component is empty"
    done
    LC_ALL=C sort "$work/all" | diff "$top/tests/checks/docs/installed.txt" - ||
        fail "the components differ from everything"
fi

# A tree without git, in a directory with a space in its name.
tree="$work/a tree/switch-querier"
mkdir -p "$tree"
tar -c --exclude=./.git --exclude='./build*' . | tar -x -C "$tree"
if wanted tarball; then
    build "$work/a build" -S "$tree" -D CMAKE_INSTALL_PREFIX=/usr
    check "$work/a build/switch-querier"
fi

# Another project that has names like ours, and a build type, flags and tests of its own.
if wanted subproject; then
    mkdir "$work/parent"
    cat >"$work/parent/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(parent LANGUAGES CXX)
set(CMAKE_CXX_FLAGS_RELEASE "-O1")
set(type "\${CMAKE_BUILD_TYPE}")
foreach(target settings json gpio log fileio app package_of_the_parent)
  add_custom_target(\${target})
endforeach()
function(add_leaf)
  message(FATAL_ERROR "a function of the parent is called")
endfunction()
include(FetchContent)
FetchContent_Declare(switch-querier SOURCE_DIR "$tree")
FetchContent_MakeAvailable(switch-querier)
if(NOT "\${CMAKE_BUILD_TYPE}" STREQUAL "\${type}" OR COMMAND cpack_add_component OR CPACK_GENERATOR
   OR CMAKE_CXX_EXTENSIONS)
  message(FATAL_ERROR "the subproject changes its parent")
endif()
get_property(tests DIRECTORY "$tree" PROPERTY TESTS)
if(tests)
  message(FATAL_ERROR "the subproject adds tests")
endif()
file(WRITE "\${CMAKE_BINARY_DIR}/parent.txt" parent)
install(FILES "\${CMAKE_BINARY_DIR}/parent.txt" DESTINATION share)
CMAKE
    build "$work/$name" -S "$work/parent" -D CMAKE_INSTALL_PREFIX=/usr
    check "$work/$name/_deps/switch-querier-build/switch-querier"
    DESTDIR=$work/parent-root
    export DESTDIR
    step installing cmake --install "$work/$name"
    installed=$(cd "$DESTDIR" && find . -type f)
    [ "$installed" = ./usr/share/parent.txt ] || fail "installs $installed"
    build "$work/$name" -S "$work/parent" -D CMAKE_BUILD_TYPE=Release
    optimised_only "$work/$name" -O1
fi

[ "$tried" -gt 0 ] || {
    echo "builds: there is no variant $only" >&2
    exit 2
}
[ "$failed" -ne 0 ] || echo "$tried variants build without a warning, start, and install the same"
exit "$failed"
