#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Makes a release in a new directory: the source tarball, static programs for 64-bit and 32-bit Arm,
# Debian packages for amd64, arm64 and armhf, the SBOM, the hashes for Buildroot, and the checksums
# of all.
# HEAD has to be the commit that the tag vVERSION names. The tag may be lightweight, annotated or
# signed: whoever verifies a release verifies the signature of the checksums.
# It takes the Debian packages of tests/stages/package/packages.
# usage: release.sh DIRECTORY
set -eu
[ $# -eq 1 ] || {
    echo "usage: release.sh DIRECTORY" >&2
    exit 2
}

# Tells all that is missing at once, in the order in which it has to be done: the tag is the last.
ready=yes
refuse() {
    echo "$*" | sed 's/^/release: /' >&2
    ready=no
}

[ ! -e "$1" ] || refuse "$1 exists"
directory=$(realpath "$1")
cd "$(dirname "$0")/.."
for program in aarch64-linux-gnu-g++ arm-linux-gnueabihf-g++ cmake dh dpkg-buildpackage git gzip \
    make reuse; do
    command -v "$program" >/dev/null || refuse "the program $program is missing"
done
version=$(cat VERSION)
name=switch-querier-$version
differences=$(sh packaging/version.sh) || refuse "$differences"
grep -m 1 '^## ' CHANGELOG.md | grep -Eqx "## [^ ]+, [0-9]{4}-[0-9]{2}-[0-9]{2}" ||
    refuse "the first release in CHANGELOG.md has no date: \"## $version, YEAR-MONTH-DAY\""
# In a tarball that is unpacked in another project's repository git answers for that project.
if [ "$(git rev-parse --show-prefix 2>/dev/null || echo none)" != "" ]; then
    refuse "$PWD is not the top of a git repository"
else
    [ -z "$(git status --porcelain)" ] || refuse "the tree has changes that are not committed"
    if ! tagged=$(git rev-parse --verify --quiet "refs/tags/v$version^{commit}"); then
        refuse "there is no tag v$version"
    elif [ "$tagged" != "$(git rev-parse HEAD)" ]; then
        refuse "the tag v$version names another commit than HEAD"
    fi
fi
[ "$ready" = yes ] || exit 1

# What is not whole must not look like a release. Dash runs no EXIT trap on a signal, unless the
# signal's trap exits.
trap 'rm -rf "$directory"' EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM
mkdir "$directory"
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
git -c tar.umask=0022 archive --format=tar --prefix="$name/" --output="$directory/$name.tar" HEAD
cd "$directory"
gzip -9n "$name.tar"

tar -xf "$name.tar.gz"
# usage: static PROCESSOR TRIPLET
static() {
    cmake -S "$name" -B build -D CMAKE_INSTALL_PREFIX=/usr -D SWITCH_QUERIER_STATIC=ON \
        -D CMAKE_TOOLCHAIN_FILE="cmake/$2.cmake"
    cmake --build build -j "$(nproc)"
    sh "$name/packaging/tarball.sh" build "$name-$1-static.tar.gz"
    rm -rf build
}
static aarch64 aarch64-linux-gnu
static armhf arm-linux-gnueabihf

sh "$name/packaging/sbom.sh" "$name" "$name.tar.gz" "$name"-*-static.tar.gz >"$name.spdx"
{
    cat "$name/packaging/buildroot/switch-querier.hash"
    sha256sum "$name.tar.gz" | sed 's/^/sha256  /'
} >switch-querier.hash
cp "$name/packaging/debian.sh" .
rm -rf "$name"
sh debian.sh "$name.tar.gz" . amd64 arm64 armhf
rm debian.sh
sha256sum -- * >SHA256SUMS
trap - EXIT
echo "To sign: gpg --armor --detach-sign $directory/SHA256SUMS"
