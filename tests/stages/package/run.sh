#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds the packages and the tarball, and tries them; see README.md.
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
top=$PWD
build=$PWD/build/package
cache=${XDG_CACHE_HOME:-$HOME/.cache}/switch-querier/packages
log=$build/build.log
failed=0
rm -rf "$build"
mkdir -p "$build" "$cache"
SOURCE_DATE_EPOCH=1750000000
export SOURCE_DATE_EPOCH

fail() {
    echo "package: $*"
    failed=1
}

# usage: pack SOURCES [OPTION…]; packs in SOURCES/build.
pack() {
    sources=$1
    shift
    rm -rf "$sources/build"
    build "$sources/build" -S "$sources" -D CMAKE_BUILD_TYPE=Release "$@"
    (cd "$sources/build" && step packing cpack)
    mkdir -p "$sources/packages"
    find "$sources/build" -maxdepth 1 \( -name '*.deb' -o -name '*.tar.gz' \) \
        -exec mv {} "$sources/packages" \;
}

# Git tells reuse which files belong to the tree.
if git ls-files >/dev/null 2>&1; then
    step "checking the licences" reuse lint
    ! grep ERROR "$log" || fail "reuse finds that"
else
    echo "reuse lint: left out, since this directory is not in a git repository"
fi

# Two trees, the second with a space in its name.
arm="-D CMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake"
for tree in one "another tree"; do
    mkdir -p "$build/$tree"
    cp -R VERSION CMakeLists.txt LICENSE ./*.md app cmake completion docs fileio gpio json log man \
        packaging "$build/$tree"
    # Two words.
    # shellcheck disable=SC2086
    pack "$build/$tree" $arm -D SWITCH_QUERIER_STATIC=ON
    # shellcheck disable=SC2086
    pack "$build/$tree" $arm
    pack "$build/$tree"
done
# By someone who keeps files to himself.
(umask 077 && cd "$build/one/build" && step packing cpack -B "$build/private")
cd "$build/one/packages"
version=$(cat ../VERSION)
amd64=$PWD/switch-querier_${version}_amd64.deb
arm64=$PWD/switch-querier_${version}_arm64.deb
tarball=$PWD/switch-querier-$version-aarch64-static.tar.gz
for package in "$amd64" "$arm64" "$tarball"; do
    cmp "$package" "$build/another tree/packages/$(basename "$package")" ||
        fail "two builds differ: $package"
done

# Control files and contents.
for package in "$amd64" "$arm64" "$build/private/$(basename "$amd64")"; do
    lintian --allow-root --fail-on error,warning "$package" || fail "lintian objects"
    dpkg-deb --contents "$package" | awk '{ print $1, $2, $6 }' |
        diff "$top/tests/stages/package/deb-files.txt" - || fail "other files: $package"
    [ -z "$(dpkg-deb --info "$package" preinst postinst prerm postrm 2>/dev/null)" ] ||
        fail "scripts of its own: $package"
done
tar --list --verbose --file "$tarball" | awk '{ print $1, $2, $6 }' |
    diff "$top/tests/stages/package/tarball-files.txt" - || fail "other files: $tarball"
[ "$(dpkg-deb --field "$amd64" Architecture)" = amd64 ] || fail "not for amd64"
[ "$(dpkg-deb --field "$arm64" Architecture)" = arm64 ] || fail "not for arm64"
depends=$(dpkg-deb --field "$amd64" Depends)
[ "$depends" = "$(dpkg-deb --field "$arm64" Depends)" ] || fail "the packages need other packages"

# What the packages say they need is at least what the program needs.
for package in "$amd64" "$arm64"; do
    dpkg-deb --extract "$package" "$build/$(basename "$package" .deb)"
done
mkdir -p "$build/debian"
printf 'Source: any\n\nPackage: any\nArchitecture: any\n' >"$build/debian/control"
installed=usr/sbin/switch-querier
needed=$(cd "$build" &&
    dpkg-shlibdeps -O "switch-querier_${version}_amd64/$installed" 2>"$log" |
    sed 's/^shlibs:Depends=//') || needed=
[ -n "$needed" ] || {
    cat "$log"
    fail "dpkg-shlibdeps tells nothing"
}
# usage: release PACKAGE LIST; the release of the package that the list wants.
release() {
    echo "$2" | tr , '\n' | sed -n "s/^ *$1 (>= \(.*\))\$/\1/p"
}
for library in $(echo "$needed" | sed 's/([^)]*)//g; s/,/ /g'); do
    named=$(release "$library" "$depends")
    dpkg --compare-versions "${named:-0}" ge "$(release "$library" "$needed")" ||
        fail "Depends is $depends, but the program needs $needed"
done
symbols=$(aarch64-linux-gnu-readelf -VW "$build/switch-querier_${version}_arm64/$installed" |
    grep -o 'GLIBC_[0-9.]*' | sed 's/GLIBC_//' | sort -Vu | tail -n 1)
dpkg --compare-versions "$(release libc6 "$depends")" ge "${symbols:-9999}" ||
    fail "Depends is $depends, but the program for arm64 needs glibc $symbols"

# The programs for Arm, the second without any library around.
cd "$top"
mkdir "$build/image"
tar -xf "$tarball" -C "$build/image"
sh tests/stages/package/try.sh "$build/try" qemu-aarch64 -L /usr/aarch64-linux-gnu \
    "$build/switch-querier_${version}_arm64/usr/sbin/switch-querier" || fail "arm64 package"
sh tests/stages/package/try.sh "$build/try" qemu-aarch64 "$build/image/usr/sbin/switch-querier" ||
    fail "tarball"

# The package for Arm in a root for Arm, installed and purged by that root's dpkg under emulation.
root=$build/arm64-root
emulated() {
    emulated_program=$1
    shift
    qemu-aarch64 -L "$root" "$root$emulated_program" "$@"
}
files() {
    find "$root" ! -path '*/var/lib/dpkg/*' ! -path '*/var/log/dpkg.log' | LC_ALL=C sort
}
try_in_arm_root() {
    files >"$build/before" &&
        emulated /usr/bin/dpkg --root="$root" --force-not-root --install "$arm64" &&
        emulated /usr/bin/dpkg --root="$root" --verify switch-querier &&
        sh tests/stages/package/try.sh "$build/try" \
            qemu-aarch64 -L "$root" "$root/usr/sbin/switch-querier" &&
        emulated /usr/bin/dpkg --root="$root" --force-not-root --purge switch-querier &&
        files | diff "$build/before" -
}
step "fetching Debian for Arm" sh tests/stages/machine/fetch.sh trixie arm64 essential all \
    '?essential' libstdc++6
step "extracting Debian for Arm" sh tests/stages/machine/extract.sh "$(tail -n 1 "$log")" "$root"
step "installing in a root for Arm" try_in_arm_root

# A fresh root, which is gone with the call. Its dpkg syncs nothing. What was downloaded is kept.
# shellcheck disable=SC1091
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
cp "$amd64" "$build/switch-querier.deb"
# The hooks get the root as their first argument.
# shellcheck disable=SC2016
step "installing in a fresh root" mmdebstrap --variant=essential --include=libstdc++6 \
    --dpkgopt=force-unsafe-io \
    --skip=download/empty,essential/unlink \
    --setup-hook='mkdir -p "$1/var/cache/apt/archives"' \
    --setup-hook="sync-in '$cache' /var/cache/apt/archives" \
    --customize-hook="sync-out /var/cache/apt/archives '$cache'" \
    --customize-hook='copy-in build/package/switch-querier.deb /tmp' \
    --customize-hook='copy-in tests/stages/package/in-root.sh tests/stages/package/try.sh /tmp' \
    --customize-hook='chroot "$1" sh /tmp/in-root.sh /tmp/switch-querier.deb /tmp/try.sh' \
    "$suite" /dev/null

sizes=
for package in "$amd64" "$arm64" "$tarball"; do
    sizes="$sizes, $(basename "$package") $(wc -c <"$package")"
done
echo "bytes: ${sizes#, }"
exit "$failed"
