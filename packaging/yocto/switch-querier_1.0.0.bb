# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

SUMMARY = "Decides whether an appliance encodes or decodes"
SECTION = "base"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3465b3868d0ec2904d4eb2b87bcb6e2d"

# The release's tarball beside this file, in files/; BP has the version that this file's name has.
# For a repository: SRC_URI = "git://…", SRCREV = "…" and S = "${WORKDIR}/git".
SRC_URI = "file://${BP}.tar.gz"
S = "${WORKDIR}/${BP}"

inherit cmake

# Whom the banner tells users to write to.
SWITCH_QUERIER_CONTACT ?= "support@example.com"
EXTRA_OECMAKE = "-DSWITCH_QUERIER_CONTACT='${SWITCH_QUERIER_CONTACT}'"

# In images without GNU tools these come from busybox; only the snippet for init scripts uses them.
RRECOMMENDS:${PN} = "util-linux-flock coreutils"

PACKAGES =+ "${PN}-bash-completion"
FILES:${PN}-bash-completion = "${datadir}/bash-completion"
