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
    diff "$top/tests/stages/builds/installed.txt" "$work/files" || fail "installs other files"
    check "$DESTDIR/usr/sbin/switch-querier"
}

# usage: compiled_with OPTION VALUE; fails if another one of its kind counts for a source.
compiled_with() {
    last=$(grep '"command"' "$work/$name/compile_commands.json" |
        sed "s|.* $1\([^ ]*\) .*|\1|" | sort -u)
    [ "$last" = "$2" ] || fail "is compiled with other options than $1$2: $last"
}

# usage: variant NAME CMAKE-ARGUMENT…
variant() {
    wanted "$1" || return 0
    shift
    build "$work/$name" -S "$top" -D CMAKE_INSTALL_PREFIX=/usr \
        -D CMAKE_EXPORT_COMPILE_COMMANDS=ON "$@"
    check "$work/$name/switch-querier"
    installs
}

variant static -D SWITCH_QUERIER_STATIC=ON -D CMAKE_BUILD_TYPE=MinSizeRel
variant clang-static -D CMAKE_CXX_COMPILER=clang++ -D SWITCH_QUERIER_STATIC=ON \
    -D CMAKE_BUILD_TYPE=RelWithDebInfo
suites="app-test fileio-test fuzz-test gpio-test json-test log-test program-test"
targets="switch-querier $suites"
variant libc++ -G Ninja -D CMAKE_CXX_COMPILER=clang++ -D CMAKE_CXX_FLAGS=-stdlib=libc++ \
    -D SWITCH_QUERIER_TESTS=ON -D CMAKE_DISABLE_FIND_PACKAGE_GTest=ON
if [ -d "$work/libc++" ]; then
    for suite in $suites; do
        step "testing by $suite" "$work/libc++/$suite" --gtest_brief=1
    done
fi
targets=
# None of it is for the shell.
# shellcheck disable=SC2016
contact='a "b"; c\d $e #f '\''g'\'' %h $<0:i> ${j} <k@example.com>'
variant flags -D "SWITCH_QUERIER_CONTACT=$contact" \
    -D CMAKE_CXX_FLAGS="-D_FORTIFY_SOURCE=3 -fno-stack-protector -fno-pie" \
    -D CMAKE_CXX_FLAGS_RELEASE="-Os -DNDEBUG" -D CMAKE_EXE_LINKER_FLAGS=-no-pie
if [ -d "$work/flags" ]; then
    shown=$("$work/flags/switch-querier" | head -n 1)
    [ "${shown#*V4.14 2020-01-16 }" = "$contact" ] || fail "the banner is: $shown"
    compiled_with -O s
    objects=$(find "$work/flags" -name '*.o' -path '*.dir/*')
    # Each object is an argument of its own.
    # shellcheck disable=SC2086
    ! readelf -sW $objects | grep __stack_chk_fail >/dev/null || fail "the stack protector is on"
    readelf -hW "$work/flags/switch-querier" | grep -q 'Type: *EXEC' || fail "is a PIE"
fi

# What cmake.bbclass and pkg-cmake.mk pass, with their flags and without their compilers.
variant yocto -D BUILD_SHARED_LIBS=ON -D CMAKE_BUILD_TYPE= -D CMAKE_INSTALL_SBINDIR:PATH=sbin \
    -D CMAKE_INSTALL_DATADIR:PATH=share -D CMAKE_INSTALL_SYSCONFDIR:PATH=/etc \
    -D CMAKE_INSTALL_LIBDIR:PATH=lib -D CMAKE_INSTALL_SO_NO_EXE=0 \
    -D CMAKE_NO_SYSTEM_FROM_IMPORTED=1 -D FETCHCONTENT_FULLY_DISCONNECTED=ON \
    -D CMAKE_EXPORT_NO_PACKAGE_REGISTRY=ON \
    -D CMAKE_CXX_FLAGS="-O1 -pipe -g -D_FORTIFY_SOURCE=1 -ffile-prefix-map=$work=/usr/src/debug"
if [ -d "$work/yocto" ]; then
    compiled_with -O 1
    compiled_with -D_FORTIFY_SOURCE= 1
    compiled_with -ffile-prefix-map= "$work=/usr/src/debug"
    grep -qx 'ExecStart=/usr/sbin/switch-querier %f' \
        "$work/root/usr/lib/systemd/system/switch-querier@.service" || fail "the unit's program"
    build "$work/yocto" -D SWITCH_QUERIER_SYSTEMD_UNIT_DIR=
    rm -rf "$DESTDIR"
    step installing cmake --install "$work/yocto"
    [ -z "$(find "$DESTDIR" -name '*.service')" ] || fail "installs a unit unasked"
fi
variant buildroot -D BUILD_SHARED_LIBS=ON -D CMAKE_BUILD_TYPE=Release -D BUILD_DOC=OFF \
    -D BUILD_DOCS=OFF -D BUILD_EXAMPLE=OFF -D BUILD_EXAMPLES=OFF -D BUILD_TEST=OFF \
    -D BUILD_TESTS=OFF -D BUILD_TESTING=OFF -D CMAKE_COLOR_MAKEFILE=OFF \
    -D CMAKE_CXX_FLAGS_RELEASE=" -DNDEBUG" -D CMAKE_CXX_FLAGS="-Os -g -D_FORTIFY_SOURCE=3"
if [ -d "$work/buildroot" ]; then
    compiled_with -O s
    compiled_with -D_FORTIFY_SOURCE= 3
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
    LC_ALL=C sort "$work/all" | diff "$top/tests/stages/builds/installed.txt" - ||
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
    build "$work/$name" -S "$work/parent" -D CMAKE_BUILD_TYPE=Release \
        -D CMAKE_EXPORT_COMPILE_COMMANDS=ON
    compiled_with -O 1
fi

[ "$tried" -gt 0 ] || {
    echo "builds: there is no variant $only" >&2
    exit 2
}
[ "$failed" -ne 0 ] || echo "$tried variants build without a warning, start, and install the same"
exit "$failed"
