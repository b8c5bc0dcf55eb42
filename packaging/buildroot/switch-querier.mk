# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

################################################################################
#
# switch-querier
#
################################################################################

SWITCH_QUERIER_VERSION = 1.0.0
# A directory with the sources; Buildroot copies them from there.
SWITCH_QUERIER_SITE = $(TOPDIR)/../switch-querier
SWITCH_QUERIER_SITE_METHOD = local
SWITCH_QUERIER_LICENSE = MIT
SWITCH_QUERIER_LICENSE_FILES = LICENSE

$(eval $(cmake-package))
