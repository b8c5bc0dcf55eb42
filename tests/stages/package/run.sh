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
installed=$top/tests/stages/builds/installed.txt
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

# This tree as a release: a repository with one commit, whose time is not the present one.
export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_SYSTEM=/dev/null GIT_CEILING_DIRECTORIES="$work"
export GIT_AUTHOR_NAME=tests GIT_COMMITTER_NAME=tests EMAIL=tests@example.com
export GIT_COMMITTER_DATE=2026-01-02T03:04:05Z
version=$(cat VERSION)
name=switch-querier-$version
mkdir "$work/repository"
tar --create --exclude=./.git --exclude='./build*' . | tar --extract --directory "$work/repository"
cd "$work/repository"
sed -i "0,/^## /s/^## .*/## $version, 2026-01-02/" CHANGELOG.md
printf '\n## 0.9.0, 2025-12-31\n\n- An older release.\n' >>CHANGELOG.md
git init --quiet
git add .
git commit --quiet --message=release
sh "$stage/refusals.sh" "$PWD" "$work/refusals" || fail "what is no release"
git tag "v$version"
step "making a release" without_cache sh packaging/release.sh "$work/release"
cp "$log" "$work/release.log"
[ "$(tail -n 1 "$log")" = "To sign: gpg --armor --detach-sign $work/release/SHA256SUMS" ] ||
    fail "the last line does not say what to sign"
cd "$work/release"
sha256sum --check --quiet SHA256SUMS || fail "the checksums"
sed 's/^[0-9a-f]*  //' SHA256SUMS >"$work/summed"
find . -type f ! -name SHA256SUMS | sed 's|^\./||' | LC_ALL=C sort | diff "$work/summed" - ||
    fail "the checksums are of other files"
amd64=$PWD/switch-querier_$version-1_amd64.deb
arm64=$PWD/switch-querier_$version-1_arm64.deb
armhf=$PWD/switch-querier_$version-1_armhf.deb
image64=$PWD/$name-aarch64-static.tar.gz
image32=$PWD/$name-armhf-static.tar.gz
for package in "$amd64" "$arm64" "$armhf" "$image64" "$image32" "$name.spdx" \
    "switch-querier_$version-1.dsc" "switch-querier-dbgsym_$version-1_amd64.deb"; do
    [ -s "$package" ] || fail "there is no $package"
done

# The source tarball has one directory, of its own name, with what git has; each file has a licence,
# and is in the SBOM unless it is about licences itself.
tar -tf "$name.tar.gz" | grep -v "^$name/" && fail "$name.tar.gz has another directory"
tar -xf "$name.tar.gz" -C "$work"
(cd "$work/repository" && git ls-files) >"$work/tracked"
cd "$work/$name"
find . -type f | sed 's|^\./||' | LC_ALL=C sort | diff "$work/tracked" - ||
    fail "$name.tar.gz has other files than git"
step "checking the licences" reuse lint
! grep ERROR "$log" || fail "reuse finds that"
for line in "DocumentName: $name" "PackageName: switch-querier" "PackageVersion: $version" \
    "PackageSupplier: Organization: The switch querier authors" \
    "PackageChecksum: SHA256: $(sha256sum <"$work/release/$name.tar.gz" | cut -d ' ' -f 1)" \
    "PackageChecksum: SHA256: $(sha256sum <"$image64" | cut -d ' ' -f 1)" \
    "PackageChecksum: SHA256: $(sha256sum <"$image32" | cut -d ' ' -f 1)" \
    "PackageVersion: $(dpkg-query --show --showformat='${Version}' libc6-dev-arm64-cross)" \
    "PackageName: libc6-dev-armhf-cross" \
    "Relationship: SPDXRef-Static-aarch64 STATIC_LINK SPDXRef-libc-aarch64" \
    "Relationship: SPDXRef-Static-aarch64 STATIC_LINK SPDXRef-libstdc-aarch64" \
    "Relationship: SPDXRef-Static-armhf STATIC_LINK SPDXRef-libc-armhf" \
    "Relationship: SPDXRef-Static-armhf STATIC_LINK SPDXRef-libstdc-armhf"; do
    grep -qx "$line" "$work/release/$name.spdx" || fail "the SBOM has no line $line"
done
grep -vE '^(LICENSES?(/.*)?|\.reuse/.*)$' "$work/tracked" >"$work/listed"
sed -n 's|^FileName: \./||p' "$work/release/$name.spdx" | LC_ALL=C sort | diff "$work/listed" - ||
    fail "the SBOM lists other files"
grep -q "^sha256  $(sha256sum <"$work/release/$name.tar.gz" | cut -d ' ' -f 1)  $name.tar.gz$" \
    "$work/release/switch-querier.hash" || fail "the hash for Buildroot"
cd "$work"
SOURCE_DATE_EPOCH=$(git -C repository log -1 --format=%ct)
export SOURCE_DATE_EPOCH

# usage: pack_again TARBALL UMASK TRIPLET; the program is not built again: "./test binary" builds in
# two directories.
pack_again() {
    step configuring cmake -S "$work/$name" -B "$work/a build/$3" -D CMAKE_INSTALL_PREFIX=/usr \
        -D CMAKE_TOOLCHAIN_FILE="cmake/$3.cmake"
    tar -xf "$1" -C "$work/a build/$3" --strip-components=2 usr/sbin/switch-querier
    (umask "$2" && step packing sh "$name/packaging/tarball.sh" "$work/a build/$3" \
        "$work/umask-$2/$(basename "$1")")
}

# The same bytes again, in other directories, with other umasks, at another time and elsewhere.
make_again() {
    (
        umask 002
        step "packing for amd64 again" without_cache TZ=Asia/Kathmandu LC_ALL=C.UTF-8 \
            faketime '+400 days' \
            sh "$name/packaging/debian.sh" "$work/release/$name.tar.gz" "$work/umask-002" amd64
    )
    (
        umask 077
        step "packing for Arm again" without_cache TZ=America/Lima LC_ALL=C \
            sh "$name/packaging/debian.sh" "$work/release/$name.tar.gz" "$work/umask-077" \
            arm64 armhf
    )
    pack_again "$image64" 002 aarch64-linux-gnu
    pack_again "$image32" 077 arm-linux-gnueabihf
    for again in umask-002/*.deb umask-002/*.dsc umask-002/*.xz umask-077/*.deb umask-077/*.dsc \
        umask-077/*.xz umask-002/*.tar.gz umask-077/*.tar.gz; do
        cmp "$again" "release/$(basename "$again")" || fail "two builds differ: $again"
    done
}

# usage: shown; what tar shows of the files that it reads, with the directories that lead to them.
shown() {
    awk '{
        path = ""
        for (i = 1; i < split($0, names, "/"); i++) {
            path = path names[i] "/"
            if (!seen[path]++)
                print "drwxr-xr-x root/root", path
        }
        print (/sbin|S50/ ? "-rwxr-xr-x" : "-rw-r--r--"), "root/root", $0
    }' | LC_ALL=C sort
}

# Control files and contents. An override in packaging/debian says why. A first release, and no
# other, gets the first suppressed tag: the package is not uploaded to Debian, so no bug asks for
# it. The second is about rows of tables, and the last comes from a lintian that is older than the
# policy of Debian 13.
check_packages() {
    step "running lintian" lintian --allow-root -EIL +pedantic \
        --suppress-tags initial-upload-closes-no-bugs,very-long-line-length-in-source-file \
        --suppress-tags newer-standards-version \
        --fail-on error,warning,info,pedantic,experimental release/*.changes
    # Each architecture has flags of its own.
    awk '/host architecture/ { part = "flags-" $NF } part { print >part }' release.log
    for architecture in amd64 arm64 armhf; do
        blhc --all --arch "$architecture" "flags-$architecture" >blhc.log || {
            cat blhc.log
            fail "blhc finds flags missing for $architecture"
        }
    done
    doc=usr/share/doc/switch-querier
    {
        grep -vE 'CHANGELOG|LICENSE' "$installed" |
            sed -E 's/(README|json-dialect)\.md$|\.8$/&.gz/'
        printf './%s\n' "$doc/changelog.Debian.gz" "$doc/changelog.gz" "$doc/copyright"
    } | shown >deb-files
    {
        sed 's|^\./||' "$installed"
        for library in GPL-3 LGPL-2.1 README libc.a.copyright libstdc++.a.copyright; do
            echo "$doc/libraries/$library"
        done
    } | shown >tarball-files
    for package in "$amd64" "$arm64" "$armhf"; do
        dpkg-deb --contents "$package" | awk '{ print $1, $2, $6 }' | LC_ALL=C sort |
            diff deb-files - || fail "other files: $package"
        [ -z "$(dpkg-deb --info "$package" preinst postinst prerm 2>/dev/null)" ] ||
            fail "scripts of its own: $package"
        [ "$(dpkg-deb --field "$package" Multi-Arch)" = foreign ] || fail "Multi-Arch: $package"
        depends=$(dpkg-deb --field "$package" Depends)
        echo "$depends" |
            grep -Exq 'libc6 \([^)]*\), libgcc-s1 \([^)]*\), libstdc\+\+6 \([^)]*\)' ||
            fail "$package depends on $depends"
        # 32-bit Arm unwinds with functions of its own, and older ones.
        bounds=$(echo "$depends" | sed 's/ libgcc-s1[^,]*,//')
        [ "$bounds" = "$(dpkg-deb --field "$amd64" Depends | sed 's/ libgcc-s1[^,]*,//')" ] ||
            fail "the packages depend on different releases: $depends"
    done
    [ "$(dpkg-deb --field "$amd64" Architecture)" = amd64 ] || fail "not for amd64"
    [ "$(dpkg-deb --field "$arm64" Architecture)" = arm64 ] || fail "not for arm64"
    [ "$(dpkg-deb --field "$armhf" Architecture)" = armhf ] || fail "not for armhf"
    for image in "$image64" "$image32"; do
        tar --list --verbose --file "$image" | awk '{ print $1, $2, $6 }' | LC_ALL=C sort |
            diff tarball-files - || fail "other files: $image"
    done

    # Each program tells its version, whatever strip left.
    for directory in amd64 arm64 armhf image64 image32; do
        readelf -nW "$directory/usr/sbin/switch-querier" |
            grep -q "\"name\":\"switch-querier\",\"version\":\"$version\"" ||
            fail "the program in $directory does not tell its version"
    done
}

# usage: try_on_arm PACKAGE ARCHITECTURE EMULATOR TRIPLET IMAGE; the programs for Arm, the second
# without any library around.
try_on_arm() {
    sh "$stage/try.sh" "$work/try-programs-$2" "$3" -L "/usr/$4" \
        "$work/$2/usr/sbin/switch-querier" || fail "$2 package"
    sh "$stage/try.sh" "$work/try-programs-$2" "$3" "$work/$5/usr/sbin/switch-querier" ||
        fail "tarball for $2"
    prepare_try "$1" "$2"
    try_in_arm_root "$suite" "$2" "$3"
}

try_on_arm64() {
    try_on_arm "$arm64" arm64 qemu-aarch64 aarch64-linux-gnu image64
}

try_on_armhf() {
    try_on_arm "$armhf" armhf qemu-arm arm-linux-gnueabihf image32
}

try_here() {
    prepare_try "$amd64" amd64
    try_in_root "$suite"
}

# usage: in_parallel FUNCTION…; each has its own log, and its own output, which a failure shows.
in_parallel() {
    jobs=
    for job in "$@"; do
        (
            # shellcheck disable=SC2030
            log=$work/$job.log
            "$job"
            exit "$failed"
        ) >"$work/$job.out" 2>&1 &
        jobs="$jobs $job:$!"
    done
    for job in $jobs; do
        wait "${job#*:}" || {
            failed=1
            cat "$work/${job%:*}.out"
        }
    done
}
# shellcheck disable=SC1091
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
# shellcheck source=tests/stages/package/roots.sh
. "$stage/roots.sh"
mkdir amd64 arm64 armhf image64 image32
dpkg-deb --extract "$amd64" amd64
dpkg-deb --extract "$arm64" arm64
dpkg-deb --extract "$armhf" armhf
tar -xf "$image64" -C image64
tar -xf "$image32" -C image32
in_parallel make_again check_packages try_here try_on_arm64 try_on_armhf

if [ "$long" = long ]; then
    # shellcheck source=tests/stages/package/long.sh
    . "$stage/long.sh"
fi

for package in "$amd64" "$arm64" "$armhf" "$image64" "$image32"; do
    printf '%s: %d bytes\n' "$(basename "$package")" "$(wc -c <"$package")"
done
exit "$failed"
