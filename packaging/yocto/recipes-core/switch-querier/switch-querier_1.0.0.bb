# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

SUMMARY = "Decides whether an appliance encodes or decodes"
HOMEPAGE = "https://example.com/switch-querier"
SECTION = "base"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3465b3868d0ec2904d4eb2b87bcb6e2d"

# The release tarball is in files/ next to this recipe; BP has the version of the recipe's name. It
# unpacks to ${BP}, where BitBake expects the sources by default.
SRC_URI = "file://${BP}.tar.gz"

inherit cmake systemd bash-completion

# The contact address in the banner.
SWITCH_QUERIER_CONTACT ?= "support@example.com"
UNIT_DIR = "${@bb.utils.contains('DISTRO_FEATURES', 'systemd', \
    d.getVar('systemd_system_unitdir'), '', d)}"
EXTRA_OECMAKE = " \
    -DSWITCH_QUERIER_CONTACT='${SWITCH_QUERIER_CONTACT}' \
    -DSWITCH_QUERIER_SYSTEMD_UNIT_DIR=${UNIT_DIR} \
"

# The instance names the configuration file, as systemd-escape(1) writes it. What orders it before
# the application is Requires= and After= in the application's unit, and these start it, too. To
# start it at boot even so, an image sets, in a .bbappend or for this recipe in local.conf,
#     SYSTEMD_AUTO_ENABLE:pn-switch-querier = "enable"
# With kirkstone the application's unit has to start it: systemctl for images takes the dot in the
# instance for its end there.
SWITCH_QUERIER_INSTANCE ?= "config-app.json"
SYSTEMD_SERVICE:${PN} = "switch-querier@${SWITCH_QUERIER_INSTANCE}.service"
SYSTEMD_AUTO_ENABLE ?= "disable"
# systemd.bbclass packages the files that SYSTEMD_SERVICE names, and an instance is no file.
FILES:${PN} += "${systemd_system_unitdir}/switch-querier@.service"

# The function for init scripts calls flock. Busybox has it, too.
RRECOMMENDS:${PN} = "util-linux-flock"
