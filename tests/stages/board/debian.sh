#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Makes the image of an SD card with Debian from its packages, and does what is needed here of what
# their scripts would do.
# usage: fakeroot sh debian.sh PACKAGES ROOT IMAGE; PACKAGES and ROOT are directories.
set -eu
cd "$(dirname "$0")/../../.."
packages=$1
root=$2
image=$3
rm -rf "$root"
sh tests/stages/machine/extract.sh "$packages" "$root"
mkdir "$root/config"
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
