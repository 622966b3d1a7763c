# What `cmake --install` puts where, in the components `daemon` and `raidtree`; DESTDIR is obeyed. The process monitor is
# told where the executable is (DAEMON_PATH), so that place is not a choice: docs/porting.md lists every file.

set(SERVICE_FILES "" CACHE STRING "how the daemon is started on the target: systemd, sysvinit, both, or nothing of it")
set(SYSTEMD_UNIT_DIRECTORY /usr/lib/systemd/system CACHE PATH "where the unit is installed")

include(GNUInstallDirs)
file(STRINGS daemon/signals.h registered REGEX "DAEMON_PATH")
string(REGEX MATCH "/[^\"]+" registered "${registered}")
set(installed ${CMAKE_INSTALL_FULL_BINDIR}/ZEB_MIRA_Update)
if(NOT installed STREQUAL registered)
    message(FATAL_ERROR "The daemon would be installed as ${installed}, but the process monitor is told to restart "
        "${registered} (DAEMON_PATH in daemon/signals.h). Leave CMAKE_INSTALL_PREFIX and CMAKE_INSTALL_BINDIR as they are; "
        "DESTDIR is for images.")
endif()
foreach(service ${SERVICE_FILES})
    if(NOT service MATCHES "^(systemd|sysvinit)$")
        message(FATAL_ERROR "SERVICE_FILES knows systemd and sysvinit, not ${service}")
    endif()
endforeach()

install(CODE "if(NOT CMAKE_INSTALL_PREFIX STREQUAL \"${CMAKE_INSTALL_PREFIX}\")
    message(FATAL_ERROR \"\${CMAKE_INSTALL_PREFIX}: the process monitor is told to restart ${registered}; use DESTDIR\")
endif()" COMPONENT daemon)
install(TARGETS ZEB_MIRA_Update DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT daemon)
install(FILES docs/man/ZEB_MIRA_Update.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT daemon)
if("systemd" IN_LIST SERVICE_FILES)
    install(FILES packaging/services/zeb-mira-update.service DESTINATION ${SYSTEMD_UNIT_DIRECTORY} COMPONENT daemon)
endif()
if("sysvinit" IN_LIST SERVICE_FILES)
    install(PROGRAMS packaging/services/zeb-mira-update DESTINATION /etc/init.d COMPONENT daemon)
endif()
