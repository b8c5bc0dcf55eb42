#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Makes the Debian source package of a release tarball, and its binary packages for these
# architectures, in a directory. SOURCE_DATE_EPOCH is the time in them.
# usage: debian.sh TARBALL DIRECTORY [ARCHITECTURE…]
set -eu
tarball=$(realpath "$1")
directory=$2
shift 2
name=$(basename "$tarball" .tar.gz)
version=${name#switch-querier-}
: "${SOURCE_DATE_EPOCH:?is not set}"

mkdir -p "$directory"
cd "$directory"
cp "$tarball" "switch-querier_$version.orig.tar.gz"
tar -xf "$tarball"
cd "$name"
cp -R packaging/debian debian
TZ=UTC0 LC_ALL=C awk -v maintainer="$(sed -n 's/^Maintainer: //p' debian/control)" \
    -v date="$(LC_ALL=C date --utc --rfc-email --date="@$SOURCE_DATE_EPOCH")" \
    -f packaging/changelog.awk CHANGELOG.md >debian/changelog
# dpkg-source packs the permissions that the umask left.
chmod -R u=rwX,go=rX debian

# What a foreign architecture needs to be built is not looked up: the cross compiler's packages do
# not count as the foreign ones that dpkg-checkbuilddeps asks for.
dpkg-buildpackage --build=source --no-sign --no-check-builddeps
for architecture in "$@"; do
    dpkg-buildpackage --build=any --no-sign --no-check-builddeps --host-arch="$architecture"
done
cd ..
rm -rf "$name"
