#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Packs what a build installs, stripped, in a tarball to be unpacked in the root directory of an
# image. The build has the prefix /usr. SOURCE_DATE_EPOCH is the time in the tarball.
# usage: tarball.sh BUILD-DIRECTORY TARBALL
set -eu
: "${SOURCE_DATE_EPOCH:?is not set}"
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
DESTDIR=$root cmake --install "$1" --strip
# Neither the umask nor the order of the file system is in it.
tar --create --directory="$root" --sort=name --format=ustar --owner=root:0 --group=root:0 \
    --mode=u=rwX,go=rX --mtime="@$SOURCE_DATE_EPOCH" usr | gzip -9n >"$2"
