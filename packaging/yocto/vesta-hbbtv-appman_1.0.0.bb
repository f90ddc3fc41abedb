SUMMARY = "HbbTV application manager for a television's browser"
SECTION = "multimedia"
# The owner has chosen no licence yet: all rights are reserved.
LICENSE = "CLOSED"

DEPENDS = "expat"

# Where the releases lie is for the distribution to say.
VESTA_MIRROR ?= "https://vesta.example/releases"
SRC_URI = "${VESTA_MIRROR}/vesta_hbbtv_appman-${PV}.tar.xz"
SRC_URI[sha256sum] = "0000000000000000000000000000000000000000000000000000000000000000"

S = "${WORKDIR}/vesta_hbbtv_appman-${PV}"

inherit cmake pkgconfig

EXTRA_OECMAKE = " \
    -DVESTA_BUILD_TESTS=OFF \
    -DVESTA_BUILD_KIT=ON \
    -DVESTA_BUILD_RECEIVER=OFF \
    -DVESTA_BUILD_STATION=OFF \
    -DVESTA_BUILD_REPLAY=OFF \
"

PACKAGES =+ "${PN}-kit ${PN}-recorder"
FILES:${PN}-kit = "${libdir}/libvesta_hbbtv_kit.so.*"
FILES:${PN}-recorder = "${libdir}/libvesta_hbbtv_recorder.so.*"
