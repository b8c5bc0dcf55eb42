#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Makes a release in a new directory: the source tarball, a static program for 64-bit Arm, Debian
# packages for amd64 and arm64, the SBOM, the hashes for Buildroot, and the checksums of all.
# HEAD has to be the commit that the tag vVERSION names. With --snapshot it is whatever the tree
# holds, for tests.
# usage: release.sh [--snapshot] DIRECTORY
set -eu
snapshot=
if [ "$1" = --snapshot ]; then
    snapshot=yes
    shift
fi
mkdir "$1"
directory=$(cd "$1" && pwd)
cd "$(dirname "$0")/.."
version=$(cat VERSION)
name=switch-querier-$version

if [ -z "$snapshot" ]; then
    if [ "$(git describe --tags --exact-match HEAD)" != "v$version" ] ||
        [ -n "$(git status --short)" ] || grep -q 'not yet released' CHANGELOG.md; then
        echo "A release is a clean tree at the tag v$version that CHANGELOG.md calls released." >&2
        rmdir "$directory"
        exit 1
    fi
fi

# The tree as git knows it, with what is changed but not committed; an unpacked tarball has no git.
if git rev-parse --git-dir >/dev/null 2>&1; then
    tree=$(git stash create)
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
    git -c tar.umask=0022 archive --format=tar --prefix="$name/" "${tree:-HEAD}"
else
    SOURCE_DATE_EPOCH=$(stat -c %Y CHANGELOG.md)
    tar --create --sort=name --format=ustar --owner=root:0 --group=root:0 --mode=u=rwX,go=rX \
        --mtime="@$SOURCE_DATE_EPOCH" --exclude='./build*' --transform="s|^\.|$name|" .
fi >"$directory/$name.tar"
export SOURCE_DATE_EPOCH
cd "$directory"
gzip -9n "$name.tar"

tar -xf "$name.tar.gz"
cmake -S "$name" -B build -D CMAKE_INSTALL_PREFIX=/usr -D SWITCH_QUERIER_STATIC=ON \
    -D CMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake
cmake --build build -j "$(nproc)"
sh "$name/packaging/tarball.sh" build "$name-aarch64-static.tar.gz"
rm -rf build

# reuse gives each SBOM its own name and the present time.
date=$(date --utc --date="@$SOURCE_DATE_EPOCH" +%Y-%m-%dT%H:%M:%SZ)
(cd "$name" && reuse spdx) | sed -e "s|^Created: .*|Created: $date|" \
    -e "s|^DocumentNamespace: .*|DocumentNamespace: https://example.com/spdx/$name|" \
    >"$name.spdx"

{
    cat "$name/packaging/buildroot/switch-querier.hash"
    sha256sum "$name.tar.gz" | sed 's/^/sha256  /'
} >switch-querier.hash
cp "$name/packaging/debian.sh" .
rm -rf "$name"
sh debian.sh "$name.tar.gz" . amd64 arm64
rm debian.sh
sha256sum -- * >SHA256SUMS
echo "To sign: gpg --armor --detach-sign $directory/SHA256SUMS"
