################################################################################
#
# vesta-hbbtv-appman
#
################################################################################

VESTA_HBBTV_APPMAN_VERSION = 1.0.0
VESTA_HBBTV_APPMAN_SOURCE = vesta_hbbtv_appman-$(VESTA_HBBTV_APPMAN_VERSION).tar.xz
# Where the releases lie is for the distribution to say.
VESTA_HBBTV_APPMAN_SITE = https://vesta.example/releases
# The owner has chosen no licence yet: all rights are reserved.
VESTA_HBBTV_APPMAN_LICENSE = PROPRIETARY
VESTA_HBBTV_APPMAN_REDISTRIBUTE = NO
VESTA_HBBTV_APPMAN_INSTALL_STAGING = YES

VESTA_HBBTV_APPMAN_CONF_OPTS = \
	-DVESTA_BUILD_TESTS=OFF \
	-DVESTA_BUILD_RECEIVER=OFF \
	-DVESTA_BUILD_STATION=OFF \
	-DVESTA_BUILD_REPLAY=OFF

ifeq ($(BR2_PACKAGE_VESTA_HBBTV_APPMAN_KIT),y)
VESTA_HBBTV_APPMAN_CONF_OPTS += -DVESTA_BUILD_KIT=ON
VESTA_HBBTV_APPMAN_DEPENDENCIES += expat
else
VESTA_HBBTV_APPMAN_CONF_OPTS += -DVESTA_BUILD_KIT=OFF
endif

$(eval $(cmake-package))
