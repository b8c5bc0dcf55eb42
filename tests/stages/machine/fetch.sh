#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Downloads Debian's kernel and busybox for 64-bit Arm, of the release that runs here, into the
# cache, unless they are there, and prints the file names of the two packages. The package lists and
# architectures of this machine do not change; signatures are checked with its keys.
set -eu
keys=/usr/share/keyrings/debian-archive-keyring.gpg
release=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
cache=${XDG_CACHE_HOME:-$HOME/.cache}/switch-querier/machine-$release

fail() {
    echo "machine: download failed: $*" >&2
    exit 1
}

if (cd "$cache" && sha256sum --quiet -c SHA256SUMS) >/dev/null 2>&1; then
    ls "$cache"/linux-image-*.deb "$cache"/busybox-static_*.deb
    exit 0
fi

mkdir -p "$cache" || fail "cannot write $cache"
work=$(mktemp -d "$cache/fetching.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/lists/partial" "$work/archives/partial" "$work/parts"
: >"$work/status"
echo "deb [signed-by=$keys] http://deb.debian.org/debian $release main" >"$work/sources.list"
cat >"$work/apt.conf" <<EOF
APT::Architecture "arm64";
APT::Architectures { "arm64"; };
APT::Sandbox::User "root";
Acquire::Languages "none";
Acquire::Retries "3";
Dir::State "$work";
Dir::State::status "$work/status";
Dir::Cache "$work";
Dir::Etc::SourceList "$work/sources.list";
Dir::Etc::SourceParts "$work/parts";
EOF
APT_CONFIG=$work/apt.conf
export APT_CONFIG

if ! apt-get -qq update >"$work/log" 2>&1 || grep -q '^[EW]:' "$work/log"; then
    fail "package lists of $release: $(head -n 3 "$work/log")"
fi
# linux-image-arm64 is empty and depends on the newest kernel.
kernel=$(apt-cache depends linux-image-arm64 |
    sed -n 's/^ *Depends: \(linux-image-[0-9][^ ]*\)$/\1/p')
[ -n "$kernel" ] || fail "linux-image-arm64 of $release depends on no kernel"
(cd "$work" && apt-get -qq download "$kernel" busybox-static) >"$work/log" 2>&1 ||
    fail "$kernel, busybox-static: $(tail -n 3 "$work/log")"

rm -f "$cache"/*.deb "$cache/SHA256SUMS"
mv "$work"/*.deb "$cache"
(cd "$cache" && sha256sum ./*.deb >SHA256SUMS.new && mv SHA256SUMS.new SHA256SUMS)
ls "$cache"/linux-image-*.deb "$cache"/busybox-static_*.deb
