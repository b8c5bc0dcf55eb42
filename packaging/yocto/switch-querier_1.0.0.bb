# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

SUMMARY = "Decides whether an appliance encodes or decodes"
SECTION = "base"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3465b3868d0ec2904d4eb2b87bcb6e2d"

# The release tarball is in files/ next to this recipe; BP has the version of the recipe's name.
# To build from a repository: SRC_URI = "git://…", SRCREV = "…" and S = "${WORKDIR}/git".
SRC_URI = "file://${BP}.tar.gz"
S = "${WORKDIR}/${BP}"

inherit cmake

# The contact address in the banner.
SWITCH_QUERIER_CONTACT ?= "support@example.com"
EXTRA_OECMAKE = "-DSWITCH_QUERIER_CONTACT='${SWITCH_QUERIER_CONTACT}'"

# Only the function for init scripts uses these. Images without GNU tools have them from busybox.
RRECOMMENDS:${PN} = "util-linux-flock coreutils"

PACKAGES =+ "${PN}-bash-completion"
FILES:${PN}-bash-completion = "${datadir}/bash-completion"
