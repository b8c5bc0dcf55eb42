#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs the program for 64-bit Arm on an emulated board; see README.md. "long" as argument adds
# boots.
set -eu
cd "$(dirname "$0")/../../.."
stage=board
extent=${1:-short}
. tests/stages/emulator/steps.sh
debian="?essential systemd-sysv udev rsyslog libstdc++6 gpiod"

unpack_emulator() {
    cmp -s "$fetched/SHA256SUMS" "$root/SHA256SUMS" || {
        rm -rf "$root" && mkdir -p "$root" &&
            for package in "$fetched"/*.deb; do
                dpkg-deb -x "$package" "$root" || return 1
            done && cp "$fetched/SHA256SUMS" "$root"
    }
}

fetch "the kernel" trixie arm64 board alone linux-image-arm64 busybox-static
set -- "$fetched"
# The board came with QEMU 10. If there is none, Debian 13's runs from a directory of its own.
if qemu-system-aarch64 -M help 2>/dev/null | grep -q '^imx8mp-evk '; then
    set -- "$@" qemu-system-aarch64
else
    root=$PWD/$build/qemu
    libraries=$root/usr/lib/$(uname -m)-linux-gnu
    fetch "the emulator" trixie "$(dpkg --print-architecture)" qemu all qemu-system-arm
    step "unpacking the emulator" unpack_emulator
    set -- "$@" env "QEMU_MODULE_DIR=$libraries/qemu" "$(echo "$root"/usr/lib*/ld-linux-*)" \
        --library-path "$libraries" "$root/usr/bin/qemu-system-aarch64" -L "$root/usr/share/qemu"
fi

# The card is made anew only when its packages or its recipe have changed.
recipe=tests/stages/board/debian.sh
make_card() {
    cat "$fetched/SHA256SUMS" $recipe >"$build/card.new" || return 1
    cmp -s "$build/card.new" "$build/card.made" || {
        rm -f "$build/card.made" &&
            fakeroot sh $recipe "$fetched" "$build/debian" "$build/debian.img" &&
            rm -rf "$build/debian" && mv "$build/card.new" "$build/card.made"
    }
}
# Each package is an argument of its own.
# shellcheck disable=SC2086
fetch "Debian" trixie arm64 debian all $debian
step "making the card" make_card

targets="switch-querier expected-run hold-line gpio-on-the-board-test"
build "$build/programs" --preset aarch64-static -D SWITCH_QUERIER_BOARD=ON
rm -rf "$build/packing" "$build/package"
mkdir -p "$build/packing" "$build/package"
name=switch-querier-$(cat VERSION)
tar --create --gzip --file="$build/packing/$name.tar.gz" --exclude=./.git --exclude='./build*' \
    --transform="s|^\.|$name|" .
step packing env SOURCE_DATE_EPOCH="$(date +%s)" \
    sh packaging/debian.sh "$build/packing/$name.tar.gz" "$build/packing" arm64
mv "$build"/packing/switch-querier_*_arm64.deb "$build/package/switch-querier.deb"
run_stage "$@"
