#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Makes the image of an SD card with Debian from its packages. It is extracted, not configured: what
# the packages' scripts would have done and is needed here is done below.
# usage: fakeroot sh debian.sh PACKAGES ROOT IMAGE; PACKAGES and ROOT are directories.
set -eu
packages=$1
root=$2
image=$3
database=$root/var/lib/dpkg
rm -rf "$root"
mkdir -p "$database/info" "$database/updates" "$database/triggers" "$root/config"
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
ln -s /usr/lib/systemd/system/rsyslog.service "$root/etc/systemd/system/syslog.service"
mkdir -p "$root/etc/systemd/system/multi-user.target.wants"
ln -s /usr/lib/systemd/system/rsyslog.service "$root/etc/systemd/system/multi-user.target.wants"
echo board >"$root/etc/hostname"
echo 0123456789abcdef0123456789abcdef >"$root/etc/machine-id"
# Slow here, and of no use.
for unit in systemd-hwdb-update.service ldconfig.service systemd-journal-catalog-update.service \
    getty-static.service; do
    ln -s /dev/null "$root/etc/systemd/system/$unit"
done

# The disk of the configuration.
mkfs.ext4 -q -m 0 "$root/config.img" 8M
echo "/config.img /config ext4 loop 0 0" >"$root/etc/fstab"

rm -f "$image"
mkfs.ext4 -q -d "$root" "$image" 512M
