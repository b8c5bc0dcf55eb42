# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Brings what the tests need to the Debian on the SD card, and goes on with it.
killall syslogd
rm /dev/log
until [ -b /dev/mmcblk2 ]; do
    usleep 100000
done
mount -t ext4 /dev/mmcblk2 /disk
rm -rf /disk/cases
cp -a /cases /disk/cases
cp /bin/expected-run /bin/hold-line /disk/cases
cp /cases/debian/*.service /disk/etc/systemd/system
mkdir -p /disk/etc/systemd/system/graphical.target.wants
ln -sf ../console.service /disk/etc/systemd/system/graphical.target.wants
exec switch_root /disk /sbin/init
