#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Holds the texts that name the version, or the licence by its sum, against VERSION and LICENSE.
# usage: version.sh VERSION-OF-THE-BUILD
set -eu
version=$(cat VERSION)
failed=0

# usage: same WHAT VALUE [WANTED]
same() {
    [ "$2" = "${3-$version}" ] || {
        echo "$1 says '$2', not '${3-$version}'"
        failed=1
    }
}

same "the build" "$1"
same "CHANGELOG.md" "$(sed -n 's/^## \([^,]*\).*/\1/p' CHANGELOG.md | head -n 1)"
same "the Buildroot package" \
    "$(sed -n 's/^SWITCH_QUERIER_VERSION = //p' packaging/buildroot/switch-querier.mk)"
recipe=$(ls packaging/yocto)
same "the Yocto recipe's name" "$recipe" "switch-querier_$version.bb"
sum=$(md5sum <LICENSE)
same "the Yocto recipe's sum of LICENSE" \
    "$(sed -n 's/^LIC_FILES_CHKSUM = .*md5=\([0-9a-f]*\).*/\1/p' "packaging/yocto/$recipe")" \
    "${sum%% *}"
exit "$failed"
