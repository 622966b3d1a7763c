SUMMARY = "Keeps a server's RAID storage tree current"
DESCRIPTION = "A daemon for a server's management controller: it reads the RAID controllers and keeps an XML file about \
them current, and the names with which snmpd identifies the server."
HOMEPAGE = "https://example.org/ZEB_MIRA_Update"
SECTION = "console/utils"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=a82b31c1a6ccb3f61da66d9f4d29d8f3"

# The firmware's eight libraries: PREFERRED_PROVIDER_virtual/bmc-libraries is the image's.
DEPENDS = "virtual/bmc-libraries"

SRC_URI = "git://example.org/ZEB_MIRA_Update.git;protocol=https;branch=main"
SRCREV = "46edf7c105f90b0cbb54698b5b3bd4b44ad4d09a"

S = "${WORKDIR}/git"

inherit cmake systemd update-rc.d

PACKAGECONFIG ??= "${@bb.utils.filter('DISTRO_FEATURES', 'systemd sysvinit', d)}"
PACKAGECONFIG[systemd] = ""
PACKAGECONFIG[sysvinit] = ""

# The process monitor is told of /usr/local/bin: the distribution's prefix and bindir do not hold.
EXTRA_OECMAKE = " \
    -DSIMULATOR=OFF \
    -DRAIDTREE=OFF \
    -DBUILD_TESTING=OFF \
    -DCMAKE_INSTALL_PREFIX=/usr/local \
    -DCMAKE_INSTALL_BINDIR=bin \
    -DCMAKE_INSTALL_DATAROOTDIR=share \
    -DCMAKE_INSTALL_MANDIR=share/man \
    -DSYSTEMD_UNIT_DIRECTORY=${systemd_system_unitdir} \
    -DSERVICE_FILES='${@';'.join(d.getVar('PACKAGECONFIG').split())}' \
"

SYSTEMD_SERVICE:${PN} = "zeb-mira-update.service"
INITSCRIPT_NAME = "zeb-mira-update"
INITSCRIPT_PARAMS = "defaults 90 10"

do_install() {
    DESTDIR=${D} cmake --install ${B} --component daemon
}

FILES:${PN} += "/usr/local/bin/ZEB_MIRA_Update"
FILES:${PN}-doc += "/usr/local/share/man"
