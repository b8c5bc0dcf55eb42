################################################################################
#
# switch-querier
#
################################################################################

SWITCH_QUERIER_VERSION = 1.0.0
SWITCH_QUERIER_SITE = https://downloads.example.com/switch-querier
SWITCH_QUERIER_LICENSE = MIT
SWITCH_QUERIER_LICENSE_FILES = LICENSE
SWITCH_QUERIER_CONF_OPTS = \
	-DSWITCH_QUERIER_CONTACT='$(call qstrip,$(BR2_PACKAGE_SWITCH_QUERIER_CONTACT))'

# The unit is a template, so it is never enabled by itself.
ifeq ($(BR2_INIT_SYSTEMD),y)
SWITCH_QUERIER_CONF_OPTS += -DSWITCH_QUERIER_SYSTEMD_UNIT_DIR=/usr/lib/systemd/system
else
SWITCH_QUERIER_CONF_OPTS += -DSWITCH_QUERIER_SYSTEMD_UNIT_DIR=
endif

define SWITCH_QUERIER_LINUX_CONFIG_FIXUPS
	$(call KCONFIG_ENABLE_OPT,CONFIG_EXPERT)
	$(call KCONFIG_ENABLE_OPT,CONFIG_GPIOLIB)
	$(call KCONFIG_ENABLE_OPT,CONFIG_GPIO_SYSFS)
	$(call KCONFIG_ENABLE_OPT,CONFIG_GPIO_SYSFS_LEGACY)
endef

$(eval $(cmake-package))
