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
image=$PWD/$name-aarch64-static.tar.gz
for package in "$amd64" "$arm64" "$image" "$name.spdx" "switch-querier_$version-1.dsc" \
    "switch-querier-dbgsym_$version-1_amd64.deb"; do
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
    "PackageChecksum: SHA256: $(sha256sum <"$image" | cut -d ' ' -f 1)" \
    "PackageVersion: $(dpkg-query --show --showformat='${Version}' libc6-dev-arm64-cross)" \
    "Relationship: SPDXRef-Static STATIC_LINK SPDXRef-libc" \
    "Relationship: SPDXRef-Static STATIC_LINK SPDXRef-libstdc"; do
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
        step "packing for arm64 again" without_cache TZ=America/Lima LC_ALL=C \
            sh "$name/packaging/debian.sh" "$work/release/$name.tar.gz" "$work/umask-077" arm64
    )
    # The tarball's program is not built again: "./test binary" does so, in two directories.
    step configuring cmake -S "$work/$name" -B "$work/a build" -D CMAKE_INSTALL_PREFIX=/usr \
        -D CMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake
    tar -xf "$image" -C "$work/a build" --strip-components=2 usr/sbin/switch-querier
    for umask in 002 077; do
        (umask "$umask" && step packing sh "$name/packaging/tarball.sh" "$work/a build" \
            "$work/umask-$umask/$(basename "$image")")
    done
    for again in umask-002/*.deb umask-002/*.dsc umask-002/*.xz umask-077/*.deb umask-077/*.dsc \
        umask-077/*.xz umask-002/*.tar.gz umask-077/*.tar.gz; do
        cmp "$again" "release/$(basename "$again")" || fail "two builds differ: $again"
    done
}

# Control files and contents. An override in packaging/debian says why. A first release, and no
# other, gets the first suppressed tag: the package is not uploaded to Debian, so no bug asks for
# it. The other tag is about lists of mutants.
check_packages() {
    step "running lintian" lintian --allow-root -EIL +pedantic \
        --suppress-tags initial-upload-closes-no-bugs,very-long-line-length-in-source-file \
        --fail-on error,warning,info,pedantic,experimental release/*.changes
    blhc --all --arch amd64 release.log >blhc.log || {
        cat blhc.log
        fail "blhc finds flags missing"
    }
    for package in "$amd64" "$arm64"; do
        dpkg-deb --contents "$package" | awk '{ print $1, $2, $6 }' |
            diff "$stage/deb-files.txt" - || fail "other files: $package"
        [ -z "$(dpkg-deb --info "$package" preinst postinst prerm 2>/dev/null)" ] ||
            fail "scripts of its own: $package"
        [ "$(dpkg-deb --field "$package" Multi-Arch)" = foreign ] || fail "Multi-Arch: $package"
        depends=$(dpkg-deb --field "$package" Depends)
        echo "$depends" |
            grep -Exq 'libc6 \([^)]*\), libgcc-s1 \([^)]*\), libstdc\+\+6 \([^)]*\)' ||
            fail "$package depends on $depends"
        [ "$depends" = "$(dpkg-deb --field "$amd64" Depends)" ] ||
            fail "the packages depend on different releases: $depends"
    done
    [ "$(dpkg-deb --field "$amd64" Architecture)" = amd64 ] || fail "not for amd64"
    [ "$(dpkg-deb --field "$arm64" Architecture)" = arm64 ] || fail "not for arm64"
    tar --list --verbose --file "$image" | awk '{ print $1, $2, $6 }' |
        diff "$stage/tarball-files.txt" - || fail "other files: $image"

    # Each program tells its version, whatever strip left.
    for directory in amd64 arm64 image; do
        readelf -nW "$directory/usr/sbin/switch-querier" |
            grep -q "\"name\":\"switch-querier\",\"version\":\"$version\"" ||
            fail "the program in $directory does not tell its version"
    done
}

# The programs for Arm, the second without any library around.
try_on_arm() {
    sh "$stage/try.sh" "$work/try" qemu-aarch64 -L /usr/aarch64-linux-gnu \
        "$work/arm64/usr/sbin/switch-querier" || fail "arm64 package"
    sh "$stage/try.sh" "$work/try" qemu-aarch64 "$work/image/usr/sbin/switch-querier" ||
        fail "tarball"
    prepare_try "$arm64" arm64
    try_in_arm_root "$suite"
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
mkdir amd64 arm64 image
dpkg-deb --extract "$amd64" amd64
dpkg-deb --extract "$arm64" arm64
tar -xf "$image" -C image
in_parallel make_again check_packages try_here try_on_arm

if [ "$long" = long ]; then
    # shellcheck source=tests/stages/package/long.sh
    . "$stage/long.sh"
fi

for package in "$amd64" "$arm64" "$image"; do
    printf '%s: %d bytes\n' "$(basename "$package")" "$(wc -c <"$package")"
done
exit "$failed"
