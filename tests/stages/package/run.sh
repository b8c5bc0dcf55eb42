#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Makes a release of the tree, and tries everything in it; see README.md.
# usage: run.sh [long]
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
top=$PWD
stage=$top/tests/stages/package
work=$PWD/build/package
cache=${XDG_CACHE_HOME:-$HOME/.cache}/switch-querier/packages
log=$work/build.log
long=${1:-}
failed=0
rm -rf "$work"
mkdir -p "$work" "$cache"

fail() {
    echo "package: $*"
    failed=1
}

# usage: without_cache COMMAND…; blhc does not know the commands of a compiler cache.
without_cache() {
    env -u CMAKE_CXX_COMPILER_LAUNCHER "$@"
}

step "making a release" without_cache sh packaging/release.sh --snapshot "$work/release"
cp "$log" "$work/release.log"
version=$(cat VERSION)
name=switch-querier-$version
cd "$work/release"
sha256sum --check --quiet SHA256SUMS || fail "the checksums"
amd64=$PWD/switch-querier_$version-1_amd64.deb
arm64=$PWD/switch-querier_$version-1_arm64.deb
image=$PWD/$name-aarch64-static.tar.gz
for package in "$amd64" "$arm64" "$image" "$name.spdx" "switch-querier_$version-1.dsc" \
    "switch-querier-dbgsym_$version-1_amd64.deb"; do
    [ -s "$package" ] || fail "there is no $package"
done

# The source tarball has one directory, of its own name, with what git has; each file has a licence.
tar -tf "$name.tar.gz" | grep -v "^$name/" && fail "$name.tar.gz has another directory"
tar -xf "$name.tar.gz" -C "$work"
cd "$work/$name"
step "checking the licences" reuse lint
! grep ERROR "$log" || fail "reuse finds that"
grep -q "^sha256  $(sha256sum <"$work/release/$name.tar.gz" | cut -d ' ' -f 1)  $name.tar.gz$" \
    "$work/release/switch-querier.hash" || fail "the hash for Buildroot"
cd "$work"

# The same bytes again, in other directories, with other umasks, at another time and elsewhere.
SOURCE_DATE_EPOCH=$(dpkg-deb --fsys-tarfile "$amd64" | tar -tv --full-time --utc |
    awk 'NR == 1 { print $4 " " $5 " UTC" }')
SOURCE_DATE_EPOCH=$(date --date="$SOURCE_DATE_EPOCH" +%s)
export SOURCE_DATE_EPOCH
(
    umask 002
    step "packing for amd64 again" without_cache TZ=Asia/Kathmandu LC_ALL=C.UTF-8 \
        faketime '+400 days' \
        sh "$name/packaging/debian.sh" "$work/release/$name.tar.gz" "$work/umask-002" amd64
)
(
    umask 077
    step "packing for arm64 again" without_cache TZ=America/Lima LC_ALL=C \
        sh "$name/packaging/debian.sh" "$work/release/$name.tar.gz" "$work/umask-077" arm64
)
targets=switch-querier build "$work/a build" -S "$work/$name" -D CMAKE_INSTALL_PREFIX=/usr \
    -D SWITCH_QUERIER_STATIC=ON \
    -D CMAKE_TOOLCHAIN_FILE="$work/$name/cmake/aarch64-linux-gnu.cmake"
for umask in 002 077; do
    (umask $umask && step packing sh "$name/packaging/tarball.sh" "$work/a build" \
        "$work/umask-$umask/$(basename "$image")")
done
for again in umask-002/*.deb umask-002/*.dsc umask-002/*.xz umask-077/*.deb umask-077/*.dsc \
    umask-077/*.xz umask-002/*.tar.gz umask-077/*.tar.gz; do
    cmp "$again" "release/$(basename "$again")" || fail "two builds differ: $again"
done

# Control files and contents. An override in packaging/debian says why.
step "running lintian" lintian --allow-root -EIL +pedantic \
    --fail-on error,warning,info,pedantic,experimental release/*.changes
blhc --all --arch amd64 release.log >blhc.log || {
    cat blhc.log
    fail "blhc finds flags missing"
}
for package in "$amd64" "$arm64"; do
    dpkg-deb --contents "$package" | awk '{ print $1, $2, $6 }' |
        diff "$stage/deb-files.txt" - || fail "other files: $package"
    [ -z "$(dpkg-deb --info "$package" preinst postinst prerm postrm 2>/dev/null)" ] ||
        fail "scripts of its own: $package"
    [ "$(dpkg-deb --field "$package" Multi-Arch)" = foreign ] || fail "Multi-Arch: $package"
    depends=$(dpkg-deb --field "$package" Depends)
    echo "$depends" | grep -Exq 'libc6 \([^)]*\), libgcc-s1 \([^)]*\), libstdc\+\+6 \([^)]*\)' ||
        fail "$package depends on $depends"
done
[ "$(dpkg-deb --field "$amd64" Architecture)" = amd64 ] || fail "not for amd64"
[ "$(dpkg-deb --field "$arm64" Architecture)" = arm64 ] || fail "not for arm64"
tar --list --verbose --file "$image" | awk '{ print $1, $2, $6 }' |
    diff "$stage/tarball-files.txt" - || fail "other files: $image"

# What is installed is what "cmake --install" installs, but for Debian's names of some documents.
cp "$top/tests/checks/docs/installed.txt" installed
tar --list --file "$image" | grep -v '/$' | sed 's|^|./|' | LC_ALL=C sort | diff installed - ||
    fail "the tarball differs from cmake --install"
dpkg-deb --fsys-tarfile "$amd64" | tar --list | grep -v -e '/$' -e /lintian/ \
    -e /changelog.Debian.gz | sed -e 's|\.gz$||' -e 's|/changelog$|/CHANGELOG.md|' \
    -e 's|/copyright$|/LICENSE|' | LC_ALL=C sort | diff installed - ||
    fail "the package differs from cmake --install"

# The programs for Arm, the second without any library around.
mkdir image
tar -xf "$image" -C image
dpkg-deb --extract "$arm64" arm64
sh "$stage/try.sh" "$work/try" qemu-aarch64 -L /usr/aarch64-linux-gnu \
    "$work/arm64/usr/sbin/switch-querier" || fail "arm64 package"
sh "$stage/try.sh" "$work/try" qemu-aarch64 "$work/image/usr/sbin/switch-querier" ||
    fail "tarball"

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
prepare_try "$amd64" amd64
prepare_try "$arm64" arm64

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
# shellcheck disable=SC1091
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
try_in_root "$suite"

# usage: try_in_arm_root SUITE; under qemu-user. The kernel need not know how to run a foreign
# program, so the packages of this root are unpacked without their scripts, and count as installed.
try_in_arm_root() {
    mkdir -p "$cache/$1-arm64" "$work/arm64-root"
    # shellcheck disable=SC2016
    step "making a root of $1 for arm64" mmdebstrap --variant=extract --architectures=arm64 \
        --skip=check/qemu,download/empty,extract/unlink,essential/unlink \
        --include=bash,coreutils,dash,diffutils,dpkg,findutils,grep,gzip,libc-bin,libstdc++6 \
        --include=mawk,sed,tar,util-linux \
        --setup-hook='mkdir -p "$1/var/cache/apt/archives"' \
        --setup-hook="sync-in '$cache/$1-arm64' /var/cache/apt/archives" \
        --extract-hook="sync-out /var/cache/apt/archives '$cache/$1-arm64'" "$1" arm64-root.tar
    tar -xf arm64-root.tar -C arm64-root --exclude='./dev/*'
    for package in "$cache/$1-arm64"/*.deb; do
        dpkg-deb --field "$package"
        printf 'Status: install ok installed\n\n'
        packed=$(dpkg-deb --field "$package" Package)
        # dpkg(1) has the architecture in the name of the list only for these.
        [ "$(dpkg-deb --field "$package" Multi-Arch)" != same ] || packed=$packed:arm64
        : >"arm64-root/var/lib/dpkg/info/$packed.list"
    done >arm64-root/var/lib/dpkg/status
    echo 1 >arm64-root/var/lib/dpkg/info/format
    ln -sf mawk arm64-root/usr/bin/awk
    cp try-arm64/* arm64-root/tmp
    step "trying the package in $1 for arm64" env PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        proot -0 -q qemu-aarch64 -r arm64-root -b /proc -b /dev/null /bin/sh -c "$in_root"
}
try_in_arm_root "$suite"

if [ "$long" = long ]; then
    # shellcheck source=tests/stages/package/long.sh
    . "$stage/long.sh"
fi

for package in "$amd64" "$arm64" "$image"; do
    printf '%s: %d bytes\n' "$(basename "$package")" "$(wc -c <"$package")"
done
exit "$failed"
