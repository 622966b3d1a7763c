# Debian packages of what is installed, one a component: `cpack` in the build directory. Both are below /usr/local, since
# the daemon's place is fixed.

set(PACKAGE_CONTACT "The ZEB_MIRA_Update authors <maintainers@example.org>" CACHE STRING "who maintains the packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "The ZEB_MIRA_Update authors")
set(CPACK_PACKAGE_CONTACT ${PACKAGE_CONTACT})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_CROSSCOMPILING AND CMAKE_SYSTEM_PROCESSOR MATCHES "^armv7")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

# The libraries of the compiler: at least those that it was built with.
file(WRITE ${CMAKE_BINARY_DIR}/libraryVersion.h "#include <features.h>\n__GLIBC__ __GLIBC_MINOR__\n")
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -E -P -x c++ ${CMAKE_BINARY_DIR}/libraryVersion.h
    OUTPUT_VARIABLE libc OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE " " "." libc "${libc}")
string(REGEX MATCH "^[0-9]+" compiler ${CMAKE_CXX_COMPILER_VERSION})
set(systemLibraries "libc6 (>= ${libc}), libgcc-s1 (>= 3.5), libstdc++6 (>= ${compiler})")

string(TIMESTAMP packageDate "%a, %d %b %Y 00:00:00 +0000" UTC)
set(overrides dir-in-usr-local file-in-usr-local file-in-unusual-dir
    init.d-script-does-not-source-init-functions)

# The component's files, and what Debian's packages have beside them, which no image gets.
function(package_component component package depends description)
    set(own ${CMAKE_BINARY_DIR}/packages/${package})
    list(TRANSFORM overrides PREPEND "${package}: " OUTPUT_VARIABLE lines)
    list(JOIN lines "\n" lines)
    file(WRITE ${own}/${package} "${lines}\n")
    file(WRITE ${own}/changelog "${package} (${PROJECT_VERSION}) unstable; urgency=medium\n
  * Built from this revision of the sources; CHANGELOG.md there tells more.\n
 -- ${PACKAGE_CONTACT}  ${packageDate}\n")
    execute_process(COMMAND gzip -9nf ${own}/changelog COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${own}/${package} DESTINATION /usr/share/lintian/overrides COMPONENT ${component}Package EXCLUDE_FROM_ALL)
    install(FILES ${own}/changelog.gz DESTINATION /usr/share/doc/${package} COMPONENT ${component}Package EXCLUDE_FROM_ALL)
    install(FILES LICENSE DESTINATION /usr/share/doc/${package} RENAME copyright
        COMPONENT ${component}Package EXCLUDE_FROM_ALL)

    list(APPEND CPACK_COMPONENTS_ALL ${component} ${component}Package)
    string(TOUPPER ${component} upper)
    foreach(part ${upper} ${upper}PACKAGE)
        set(CPACK_COMPONENT_${part}_GROUP ${component} PARENT_SCOPE)
    endforeach()
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS ${depends} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_DESCRIPTION ${description} PARENT_SCOPE)
endfunction()

set(CPACK_COMPONENTS_ALL)
if(DAEMON)
    package_component(daemon zeb-mira-update ${systemLibraries} "keeps a server's RAID storage tree current
A daemon for a server's management controller: it reads the RAID controllers
and keeps an XML file about them current. The firmware's libraries are the
image's to have.")
endif()
if(DAEMON AND "systemd" IN_LIST SERVICE_FILES AND "sysvinit" IN_LIST SERVICE_FILES) # Debian's have both
    file(WRITE ${CMAKE_BINARY_DIR}/packages/conffiles "/etc/init.d/zeb-mira-update\n")
    set(scripts postinst prerm postrm)
    list(TRANSFORM scripts PREPEND ${CMAKE_SOURCE_DIR}/packaging/debian/)
    set(CPACK_DEBIAN_DAEMON_PACKAGE_CONTROL_EXTRA ${scripts} ${CMAKE_BINARY_DIR}/packages/conffiles)
endif()
if(RAIDTREE)
    package_component(raidtree raidtree "${systemLibraries}, libpugixml1v5, libcpp-httplib0.11" "reads a server's RAID storage tree
Shows, compares, checks and exports the tree that ZEB_MIRA_Update writes, for
people and for programs.")
endif()
include(CPack)
