#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Makes a root directory of packages for 64-bit Arm. They are extracted, not configured: their
# scripts do not run, and dpkg's database calls them installed.
# usage: [fakeroot] sh extract.sh PACKAGES ROOT; both are directories.
set -eu
packages=$1
root=$2
database=$root/var/lib/dpkg
rm -rf "$root"
mkdir -p "$database/info" "$database/updates" "$database/triggers"
control=$(mktemp -d)
trap 'rm -rf "$control"' EXIT

for package in "$packages"/*.deb; do
    rm -rf "$control"
    dpkg-deb --raw-extract "$package" "$control"
    name=$(sed -n 's/^Package: //p' "$control/DEBIAN/control")
    if grep -qx 'Multi-Arch: same' "$control/DEBIAN/control"; then
        name=$name:arm64
    fi
    {
        echo "Status: install ok installed"
        cat "$control/DEBIAN/control"
        echo
    } >>"$database/status"
    (cd "$control" && find . -path ./DEBIAN -prune -o -print | sed 's/^\.//; s|^$|/.|') \
        >"$database/info/$name.list"
    rm -r "$control/DEBIAN"
    cp -a "$control/." "$root"
done

ln -s /run "$root/var/run"
ln -s /run/lock "$root/var/lock"
for file in passwd group; do
    cp "$root/usr/share/base-passwd/$file.master" "$root/etc/$file"
done
