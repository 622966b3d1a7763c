SUMMARY = "Reads a server's RAID storage tree"
DESCRIPTION = "Shows, compares, checks and exports the tree that ZEB_MIRA_Update writes, for people and for programs."
HOMEPAGE = "https://example.org/ZEB_MIRA_Update"
SECTION = "console/utils"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=a82b31c1a6ccb3f61da66d9f4d29d8f3"

DEPENDS = "cli11 nlohmann-json pugixml"

SRC_URI = "git://example.org/ZEB_MIRA_Update.git;protocol=https;branch=main"
SRCREV = "46edf7c105f90b0cbb54698b5b3bd4b44ad4d09a"

S = "${WORKDIR}/git"

inherit cmake

# Alone: neither the daemon with the firmware's libraries nor the simulator is configured.
EXTRA_OECMAKE = " \
    -DDAEMON=OFF \
    -DSIMULATOR=OFF \
    -DRAIDTREE=ON \
    -DRAIDTREE_SERVE=OFF \
    -DBUILD_TESTING=OFF \
"

do_install() {
    DESTDIR=${D} cmake --install ${B} --component raidtree
}

FILES:${PN} += "${datadir}/raidtree"
