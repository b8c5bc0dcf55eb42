#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Prints the SBOM of a release, in the tag-value format of SPDX: the source package with its files,
# the static programs, and the libraries that are linked into each.
# usage: sbom.sh SOURCES SOURCE-TARBALL STATIC-TARBALL…
# SOURCES is the unpacked source tarball, SOURCE_DATE_EPOCH the time in the SBOM.
set -eu
sources=$1
tarball=$2
shift 2
version=$(cat "$sources/VERSION")
site=https://downloads.example.com/switch-querier
files=$(mktemp)
trap 'rm -f "$files"' EXIT

# reuse gives each SBOM its own name and the present time. It lists the repository around, if git
# finds one.
(cd "$sources" && GIT_CEILING_DIRECTORIES=$(dirname "$PWD") reuse spdx) >"$files"
date=$(date --utc --date="@${SOURCE_DATE_EPOCH:?is not set}" +%Y-%m-%dT%H:%M:%SZ)
sed -i -e "s|^Created: .*|Created: $date|" -e '/^Creator: Person: /d' \
    -e "s|^Creator: Organization: .*|Creator: Organization: The switch querier authors|" \
    -e "s|^DocumentNamespace: .*|DocumentNamespace: https://example.com/spdx/switch-querier-$version|" \
    "$files"

# usage: package ID NAME VERSION SUPPLIER LICENCE
package() {
    printf '\nPackageName: %s\nSPDXID: SPDXRef-%s\nPackageVersion: %s\n' "$2" "$1" "$3"
    printf 'PackageSupplier: Organization: %s\n' "$4"
    printf 'PackageLicenseConcluded: %s\nPackageLicenseDeclared: %s\n' "$5" "$5"
}

# usage: of_release ID TARBALL; the package that is this file of the release.
of_release() {
    package "$1" switch-querier "$version" "The switch querier authors" MIT
    printf 'PackageFileName: %s\nPackageDownloadLocation: %s\n' "${2##*/}" "$site/${2##*/}"
    printf 'PackageChecksum: SHA256: %s\n' "$(sha256sum <"$2" | cut -d ' ' -f 1)"
    echo "PackageCopyrightText: <text>The switch querier authors</text>"
}

sed '/^FileName: /,$d' "$files"
of_release Source "$tarball"
echo "FilesAnalyzed: true"
echo "PackageVerificationCode: $(sed -n 's/^FileChecksum: SHA1: //p' "$files" | LC_ALL=C sort |
    tr -d '\n' | sha1sum | cut -d ' ' -f 1)"
printf 'PackageLicenseInfoFromFiles: MIT\n\n'
sed -n '/^FileName: /,$p' "$files"

echo "Relationship: SPDXRef-DOCUMENT DESCRIBES SPDXRef-Source"
for static; do
    processor=${static%-static.tar.gz}
    processor=${processor##*-}
    program=Static-$processor
    of_release "$program" "$static"
    echo "FilesAnalyzed: false"
    echo "Relationship: SPDXRef-DOCUMENT DESCRIBES SPDXRef-$program"
    echo "Relationship: SPDXRef-$program GENERATED_FROM SPDXRef-Source"
    tar -xOf "$static" usr/share/doc/switch-querier/libraries/README |
        sed -n 's/^\(lib.*\)\.a: /\1 /p' | while read -r library debian debian_version; do
        licence="GPL-3.0-or-later WITH GCC-exception-3.1"
        [ "$library" != libc ] || licence=LGPL-2.1-or-later
        id=$(echo "$library" | tr -d +)-$processor
        package "$id" "$debian" "$debian_version" Debian "$licence"
        echo "PackageDownloadLocation: NOASSERTION"
        echo "PackageCopyrightText: NOASSERTION"
        echo "FilesAnalyzed: false"
        echo "Relationship: SPDXRef-$program STATIC_LINK SPDXRef-$id"
    done
done
