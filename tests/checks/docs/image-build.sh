#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds and installs with what Yocto and Buildroot pass to CMake, shared libraries among it, and
# looks at what is installed and whether it runs.
# usage: image-build.sh DIRECTORY
set -eu
. scripts/steps.sh
directory=$1
log=$directory/build.log
rm -rf "$directory"

# usage: check NAME CMAKE-ARGUMENT…
check() {
    name=$1
    shift
    build "$directory/$name" -S . -D CMAKE_INSTALL_PREFIX=/usr -D BUILD_SHARED_LIBS=ON "$@"
    export DESTDIR="$directory/$name-root"
    step installing cmake --install "$directory/$name"
    (cd "$directory/$name-root" && find . -type f | LC_ALL=C sort) >"$directory/$name.files"
    diff tests/checks/docs/installed.txt "$directory/$name.files" || {
        echo "$name installs other files"
        exit 1
    }
    status=0
    "$directory/$name-root/usr/sbin/switch-querier" >/dev/null || status=$?
    [ "$status" -eq 96 ] || {
        echo "what $name installs ends with $status, not 96"
        exit 1
    }
    rm -rf "${directory:?}/$name" "$directory/$name-root"
}

# cmake.bbclass and pkg-cmake.mk, without their compilers.
check yocto -D CMAKE_BUILD_TYPE= -D CMAKE_INSTALL_SBINDIR:PATH=sbin \
    -D CMAKE_INSTALL_DATADIR:PATH=share -D CMAKE_INSTALL_SYSCONFDIR:PATH=/etc \
    -D CMAKE_INSTALL_LIBDIR:PATH=lib -D CMAKE_INSTALL_SO_NO_EXE=0 \
    -D CMAKE_NO_SYSTEM_FROM_IMPORTED=1 -D FETCHCONTENT_FULLY_DISCONNECTED=ON \
    -D CMAKE_EXPORT_NO_PACKAGE_REGISTRY=ON
check buildroot -D CMAKE_BUILD_TYPE=Release -D BUILD_DOC=OFF -D BUILD_DOCS=OFF \
    -D BUILD_EXAMPLE=OFF -D BUILD_EXAMPLES=OFF -D BUILD_TEST=OFF -D BUILD_TESTS=OFF \
    -D BUILD_TESTING=OFF -D CMAKE_COLOR_MAKEFILE=OFF
rm -rf "$directory"
