# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=sh

# Sourced by run.sh for the long form. The packages piuparts and autopkgtest are installed first.
# shellcheck disable=SC2154

for program in piuparts autopkgtest; do
    command -v "$program" >/dev/null || {
        echo "package: $program is missing: install the package $program" >&2
        exit 77
    }
done

# The other release of Debian.
for other in bookworm trixie; do
    [ "$other" = "$suite" ] || try_in_root "$other"
done

# A minimal system, in which piuparts and autopkgtest can call apt.
step "making a minimal system" mmdebstrap --variant=minbase "$suite" "$work/minimal.tar.gz"
step "running piuparts" piuparts --basetgz="$work/minimal.tar.gz" --distribution="$suite" \
    --warn-on-leftovers-after-purge --no-eatmydata "$amd64"
mkdir "$work/minimal"
tar -xf "$work/minimal.tar.gz" -C "$work/minimal"
cp /etc/resolv.conf "$work/minimal/etc"
step "running autopkgtest" autopkgtest --setup-commands='apt-get update' \
    "$work/release/switch-querier_$version-1.dsc" "$amd64" -- chroot "$work/minimal"
rm -rf "$work/minimal"

# The source tarball, without git around: neither its own repository nor ours.
elsewhere=$(mktemp -d)
tar -xf "$work/release/$name.tar.gz" -C "$elsewhere"
(cd "$elsewhere/$name" && ./test) || fail "./test in the source tarball"
rm -rf "$elsewhere"
