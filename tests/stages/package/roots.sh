# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=sh

# Sourced by run.sh: tries the packages in fresh roots.
# shellcheck disable=SC2154

# usage: prepare_try PACKAGE ARCHITECTURE; the files for in-root.sh, among them a package that
# upgrades this one.
prepare_try() {
    mkdir "try-$2"
    dpkg-deb --raw-extract "$1" "newer-$2"
    sed -i 's/^Version: .*/&+newer/' "newer-$2/DEBIAN/control"
    dpkg-deb --root-owner-group --build "newer-$2" "try-$2/newer.deb" >"$log"
    cp "$1" "try-$2/package.deb"
    cp "$stage/in-root.sh" "$stage/try.sh" "try-$2"
    cp "$name/packaging/debian/tests/manual" "try-$2/manual-test"
}
in_root='cd /tmp && sh in-root.sh package.deb newer.deb try.sh /tmp/manual-test'

# usage: try_in_root SUITE; in a fresh root, which is gone with the call. Its dpkg syncs nothing.
# What was downloaded is kept.
try_in_root() {
    mkdir -p "$cache/$1"
    # The hooks get the root as their first argument.
    # shellcheck disable=SC2016
    step "trying the package in $1" mmdebstrap --variant=essential --include=libstdc++6 \
        --dpkgopt=force-unsafe-io --skip=download/empty,essential/unlink \
        --setup-hook='mkdir -p "$1/var/cache/apt/archives"' \
        --setup-hook="sync-in '$cache/$1' /var/cache/apt/archives" \
        --customize-hook="sync-out /var/cache/apt/archives '$cache/$1'" \
        --customize-hook="sync-in '$work/try-amd64' /tmp" \
        --customize-hook="chroot \"\$1\" sh -c '$in_root'" "$1" /dev/null
}

# usage: try_in_arm_root SUITE ARCHITECTURE EMULATOR; under qemu-user. The kernel need not know how
# to run a foreign program, so the packages of this root are unpacked without their scripts, and
# count as installed. Nothing in it meets a network, so updates for security are left out, which not
# all mirrors have for each architecture.
try_in_arm_root() {
    mkdir -p "$cache/$1-$2" "$work/$2-root" "$work/$2-packages"
    # shellcheck disable=SC2016
    step "making a root of $1 for $2" mmdebstrap --variant=extract --architectures="$2" \
        --skip=check/qemu,download/empty,extract/unlink,essential/unlink \
        --include=bash,coreutils,dash,diffutils,dpkg,findutils,grep,gzip,libc-bin,libstdc++6 \
        --include=mawk,sed,tar,util-linux \
        --setup-hook='mkdir -p "$1/var/cache/apt/archives"' \
        --setup-hook="sync-in '$cache/$1-$2' /var/cache/apt/archives" \
        --extract-hook="sync-out /var/cache/apt/archives '$cache/$1-$2'" \
        --extract-hook='APT_CONFIG=$MMDEBSTRAP_APT_CONFIG apt-get -qq autoclean' \
        --extract-hook="sync-out /var/cache/apt/archives '$work/$2-packages'" \
        "$1" "$2-root.tar" http://deb.debian.org/debian
    tar -xf "$2-root.tar" -C "$2-root" --exclude='./dev/*'
    for package in "$2-packages"/*.deb; do
        dpkg-deb --field "$package"
        printf 'Status: install ok installed\n\n'
        packed=$(dpkg-deb --field "$package" Package)
        # dpkg(1) has the architecture in the name of the list only for these.
        [ "$(dpkg-deb --field "$package" Multi-Arch)" != same ] || packed=$packed:$2
        : >"$2-root/var/lib/dpkg/info/$packed.list"
    done >"$2-root/var/lib/dpkg/status"
    echo 1 >"$2-root/var/lib/dpkg/info/format"
    ln -sf mawk "$2-root/usr/bin/awk"
    cp "try-$2"/* "$2-root/tmp"
    step "trying the package in $1 for $2" env PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        python3 "$stage/without-statx.py" proot -0 -q "$3" -r "$2-root" -b /proc -b /dev/null \
        /bin/sh -c "$in_root"
}
