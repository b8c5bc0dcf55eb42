#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Makes the image of an SD card with Debian from its packages. They are extracted, not configured:
# their scripts do not run, dpkg's database calls them installed, and what is needed here of what
# the scripts would do is done here.
# usage: fakeroot sh debian.sh PACKAGES ROOT IMAGE; PACKAGES and ROOT are directories.
set -eu
packages=$1
root=$2
image=$3
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
units=$root/etc/systemd/system
rsyslog=/usr/lib/systemd/system/rsyslog.service
mkdir -p "$units/multi-user.target.wants"
ln -s $rsyslog "$units/syslog.service"
ln -s $rsyslog "$units/multi-user.target.wants"
echo board >"$root/etc/hostname"
echo 0123456789abcdef0123456789abcdef >"$root/etc/machine-id"
# Slow here, and of no use.
for unit in systemd-hwdb-update ldconfig systemd-journal-catalog-update getty-static; do
    ln -s /dev/null "$units/$unit.service"
done

# The disk of the configuration.
mkdir "$root/config"
mkfs.ext4 -q -m 0 "$root/config.img" 8M
echo "/config.img /config ext4 loop 0 0" >"$root/etc/fstab"

rm -f "$image"
mkfs.ext4 -q -d "$root" "$image" 512M
