# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

SUMMARY = "Decides whether an appliance encodes or decodes"
SECTION = "base"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3465b3868d0ec2904d4eb2b87bcb6e2d"

# The release tarball is in files/ next to this recipe; BP has the version of the recipe's name. It
# unpacks to ${BP}, where BitBake expects the sources by default.
SRC_URI = "file://${BP}.tar.gz"

inherit cmake systemd

# The contact address in the banner.
SWITCH_QUERIER_CONTACT ?= "support@example.com"
UNIT_DIR = "${@bb.utils.contains('DISTRO_FEATURES', 'systemd', \
    d.getVar('systemd_system_unitdir'), '', d)}"
EXTRA_OECMAKE = " \
    -DSWITCH_QUERIER_CONTACT='${SWITCH_QUERIER_CONTACT}' \
    -DSWITCH_QUERIER_SYSTEMD_UNIT_DIR=${UNIT_DIR} \
"

# The image chooses: the instance names the configuration file, as systemd-escape(1) writes it, and
# "enable" starts it at boot. An application's unit that requires the instance needs neither.
SWITCH_QUERIER_INSTANCE ?= "config-app.json"
SYSTEMD_SERVICE:${PN} = "switch-querier@${SWITCH_QUERIER_INSTANCE}.service"
SYSTEMD_AUTO_ENABLE ?= "disable"

# The function for init scripts calls flock. Busybox has it, too.
RRECOMMENDS:${PN} = "util-linux-flock"

PACKAGES =+ "${PN}-bash-completion"
FILES:${PN}-bash-completion = "${datadir}/bash-completion"
