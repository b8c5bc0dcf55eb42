#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Downloads Debian packages into a directory of the cache, unless they are there, and prints the
# directory. The host's package lists and architectures stay as they are; the signatures are checked
# with its keys.
# usage: fetch.sh RELEASE ARCHITECTURE NAME alone|all PACKAGE…
# NAME is the directory's. "all" includes every package that these depend on. linux-image-arm64
# stands for the newest kernel, on which this package depends.
set -eu
release=$1
architecture=$2
directory=${XDG_CACHE_HOME:-$HOME/.cache}/switch-querier/$3-$release-$architecture
extent=$4
shift 4
keys=/usr/share/keyrings/debian-archive-keyring.gpg

fail() {
    echo "download failed: $*" >&2
    exit 1
}

if [ "$(cat "$directory/asked-for" 2>/dev/null)" = "$extent $*" ] &&
    (cd "$directory" && sha256sum --quiet -c SHA256SUMS) >/dev/null 2>&1; then
    echo "$directory"
    exit 0
fi

mkdir -p "$directory" || fail "cannot write $directory"
asked_for="$extent $*"
work=$(mktemp -d "$directory/fetching.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/lists/partial" "$work/archives/partial" "$work/parts"
: >"$work/status"
echo "deb [signed-by=$keys] http://deb.debian.org/debian $release main" >"$work/sources.list"
cat >"$work/apt.conf" <<CONF
APT::Architecture "$architecture";
APT::Architectures { "$architecture"; };
APT::Install-Recommends "false";
APT::Sandbox::User "root";
Acquire::Languages "none";
Acquire::Retries "3";
Debug::NoLocking "true";
Dir::State "$work";
Dir::State::status "$work/status";
Dir::Cache "$work";
Dir::Etc::SourceList "$work/sources.list";
Dir::Etc::SourceParts "$work/parts";
CONF
APT_CONFIG=$work/apt.conf
export APT_CONFIG

if ! apt-get -qq update >"$work/log" 2>&1 || grep -q '^[EW]:' "$work/log"; then
    fail "package lists of $release: $(head -n 3 "$work/log")"
fi
cd "$work/archives"
for package in "$@"; do
    shift
    if [ "$package" = linux-image-arm64 ]; then
        package=$(apt-cache depends linux-image-arm64 |
            sed -n 's/^ *Depends: \(linux-image-[0-9][^ ]*\)$/\1/p')
        [ -n "$package" ] || fail "linux-image-arm64 of $release depends on no kernel"
    fi
    set -- "$@" "$package"
done
case $extent in
alone) apt-get -qq download "$@" >"$work/log" 2>&1 ;;
all) apt-get -qq install --download-only -y "$@" >"$work/log" 2>&1 ;;
esac || fail "$*: $(tail -n 3 "$work/log")"

rm -f "$directory"/*.deb "$directory/SHA256SUMS"
mv "$work"/archives/*.deb "$directory"
echo "$asked_for" >"$directory/asked-for"
(cd "$directory" && sha256sum ./*.deb >SHA256SUMS.new && mv SHA256SUMS.new SHA256SUMS)
echo "$directory"
