#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Holds the files that name the version, or the licence by its sum, against VERSION and LICENSE, and
# prints a line for each that differs.
set -eu
cd "$(dirname "$0")/.."
version=$(cat VERSION)
failed=0

# usage: same WHAT VALUE EXPECTED
same() {
    [ "$2" = "$3" ] || {
        echo "$1 is '$2', not '$3'"
        failed=1
    }
}

same "the first release in CHANGELOG.md" \
    "$(sed -n 's/^## \([^,]*\).*/\1/p' CHANGELOG.md | head -n 1)" "$version"
same "the version in packaging/buildroot/switch-querier.mk" \
    "$(sed -n 's/^SWITCH_QUERIER_VERSION = //p' packaging/buildroot/switch-querier.mk)" "$version"
same "the sum in packaging/buildroot/switch-querier.hash" \
    "$(sed -n 's/  LICENSE$//p' packaging/buildroot/switch-querier.hash)" \
    "sha256  $(sha256sum <LICENSE | cut -d ' ' -f 1)"
recipe=$(ls packaging/yocto/recipes-core/switch-querier/*.bb)
same "the name of the Yocto recipe" "$(basename "$recipe")" "switch-querier_$version.bb"
same "the sum in the Yocto recipe" \
    "$(sed -n 's/^LIC_FILES_CHKSUM = .*md5=\([0-9a-f]*\).*/\1/p' "$recipe")" \
    "$(md5sum <LICENSE | cut -d ' ' -f 1)"
exit "$failed"
