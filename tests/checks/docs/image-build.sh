#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds and installs with what Yocto and Buildroot pass to CMake, shared libraries and compiler
# flags among it, and checks what is compiled and installed, and whether it runs.
# usage: image-build.sh DIRECTORY
set -eu
. scripts/steps.sh
directory=$1
log=$directory/build.log
rm -rf "$directory"

fail() {
    echo "$*"
    exit 1
}

# usage: check NAME CMAKE-ARGUMENT…
check() {
    name=$1
    shift
    build "$directory/$name" -S . -D CMAKE_INSTALL_PREFIX=/usr -D BUILD_SHARED_LIBS=ON \
        -D CMAKE_EXPORT_COMPILE_COMMANDS=ON "$@"
    export DESTDIR="$directory/$name-root"
    step installing cmake --install "$directory/$name"
    (cd "$directory/$name-root" && find . -type f | LC_ALL=C sort) >"$directory/$name.files"
    diff tests/checks/docs/installed.txt "$directory/$name.files" ||
        fail "$name installs other files"
    status=0
    "$directory/$name-root/usr/sbin/switch-querier" >/dev/null || status=$?
    [ "$status" -eq 96 ] || fail "what $name installs ends with $status, not 96"
    grep -qx 'ExecStart=/usr/sbin/switch-querier %f' \
        "$directory/$name-root/usr/lib/systemd/system/switch-querier@.service" ||
        fail "the unit that $name installs names another program"
}

# usage: check_objects NAME OPTIMISATION FORTIFY-LEVEL PREFIX
# The objects know with which of the caller's flags they were compiled: -g and
# -grecord-gcc-switches are among them. -D is not recorded, so its last value is asked for.
check_objects() {
    find "$directory/$1" -path '*.dir/*' -name '*.o' ! -name 'PackageNote.*' >"$directory/objects"
    [ -s "$directory/objects" ] || fail "$1: there are no objects"
    while read -r object; do
        producer=$(readelf --debug-dump=info "$object" | grep -m 1 DW_AT_producer)
        level=$(echo "$producer" | grep -oE ' -O[0-9a-z]*' | tail -n 1)
        [ "$level" = " $2" ] || fail "$1: $object is compiled with$level, not $2"
        readelf --debug-dump=info "$object" | grep -m 1 DW_AT_comp_dir | grep -q ": $4" ||
            fail "$1: $object does not have the caller's prefix $4"
    done <"$directory/objects"
    python3 - "$directory/$1/compile_commands.json" "$3" <<'PYTHON' || fail "$1: _FORTIFY_SOURCE"
import json, subprocess, sys
for entry in json.load(open(sys.argv[1])):
    command = entry["command"].split(" -o ")[0] + " -E -dM -x c++ /dev/null"
    macros = subprocess.run(command, shell=True, cwd=entry["directory"], check=True,
                            capture_output=True, text=True).stdout
    if f"#define _FORTIFY_SOURCE {sys.argv[2]}\n" not in macros:
        sys.exit(f"{entry['file']}: another level than {sys.argv[2]}")
PYTHON
}

# cmake.bbclass and pkg-cmake.mk, with their flags and without their compilers.
check yocto -D CMAKE_BUILD_TYPE= -D CMAKE_INSTALL_SBINDIR:PATH=sbin \
    -D CMAKE_INSTALL_DATADIR:PATH=share -D CMAKE_INSTALL_SYSCONFDIR:PATH=/etc \
    -D CMAKE_INSTALL_LIBDIR:PATH=lib -D CMAKE_INSTALL_SO_NO_EXE=0 \
    -D CMAKE_NO_SYSTEM_FROM_IMPORTED=1 -D FETCHCONTENT_FULLY_DISCONNECTED=ON \
    -D CMAKE_EXPORT_NO_PACKAGE_REGISTRY=ON \
    -D CMAKE_CXX_FLAGS="-O1 -pipe -g -grecord-gcc-switches -D_FORTIFY_SOURCE=1 \
-ffile-prefix-map=$directory=/usr/src/debug"
check_objects yocto -O1 1 /usr/src/debug/yocto
check buildroot -D CMAKE_BUILD_TYPE=Release -D BUILD_DOC=OFF -D BUILD_DOCS=OFF \
    -D BUILD_EXAMPLE=OFF -D BUILD_EXAMPLES=OFF -D BUILD_TEST=OFF -D BUILD_TESTS=OFF \
    -D BUILD_TESTING=OFF -D CMAKE_COLOR_MAKEFILE=OFF \
    -D CMAKE_CXX_FLAGS_RELEASE=" -DNDEBUG" \
    -D CMAKE_CXX_FLAGS="-Os -g -grecord-gcc-switches -D_FORTIFY_SOURCE=3 \
-ffile-prefix-map=$directory=buildroot"
check_objects buildroot -Os 3 buildroot/buildroot
# An image without systemd.
build "$directory/yocto" -S . -D SWITCH_QUERIER_SYSTEMD_UNIT_DIR=
export DESTDIR="$directory/without-unit"
step installing cmake --install "$directory/yocto"
[ -z "$(find "$DESTDIR" -name '*.service')" ] || fail "a unit is installed that was not asked for"
rm -rf "$directory"
