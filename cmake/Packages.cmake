# Debian packages and RPMs: `cpack -G DEB`, `cpack -G RPM`. There are four of each, one to a component.
# What is in them beside what `cmake --install` puts in place is done by packages/finish.cmake.

file(STRINGS src/cache/hostctl.h OSTREL_HOSTCTL_VERSION REGEX "^#define HOSTCTL_VERSION ")
string(REGEX REPLACE "[^0-9]+" "" OSTREL_HOSTCTL_VERSION "${OSTREL_HOSTCTL_VERSION}")
# SOURCE_DATE_EPOCH, where it is set, makes packages that are the same each time.
string(TIMESTAMP OSTREL_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
# What a platform's own library provides, conflicts with and replaces as well, so that one takes the
# other's place. Its version is that of the interface.
set(hostctl_abi libhostctl-abi-1)
set(CPACK_PACKAGE_CONTACT "Ostrel PCI maintainers <maintainers@ostrel.example>")
set(OSTREL_PACKAGES ${PROJECT_SOURCE_DIR}/cmake/packages)
foreach(file changelog shlibs)
  configure_file(cmake/packages/${file}.in ${PROJECT_BINARY_DIR}/packages/${file} @ONLY)
endforeach()
install(CODE "set(OSTREL_CHANGELOG \"${PROJECT_BINARY_DIR}/packages/changelog\")
set(OSTREL_FULL_BINDIR \"${CMAKE_INSTALL_FULL_BINDIR}\")
set(OSTREL_PKGCONFIG_TO_PREFIX \"${OSTREL_PKGCONFIG_TO_PREFIX}\")" ALL_COMPONENTS)
install(SCRIPT cmake/packages/finish.cmake ALL_COMPONENTS)

set(CPACK_PROJECT_CONFIG_FILE ${OSTREL_PACKAGES}/generator.cmake)
set(CPACK_COMPONENTS_ALL libostrelpci1 libhostctl1 libhostctl-dev ostrel-pci)
set(CPACK_PACKAGE_NAME ostrel-pci)
set(CPACK_PACKAGE_VENDOR "Ostrel PCI")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each has its own
set(CPACK_OSTREL_ARCHITECTURE ${CMAKE_LIBRARY_ARCHITECTURE})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Its dependency is ours to say: another library may stand in for it.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src/platform/hostctl)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_LICENSE MIT)
set(CPACK_RPM_SPEC_MORE_DEFINE "%define _build_id_links none")
set(CPACK_RPM_PACKAGE_AUTOREQPROV ON)
# Folders that other packages bring.
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /usr/lib/systemd /usr/lib/systemd/system /usr/lib64/pkgconfig /usr/share/man /usr/share/man/man1
    /usr/share/man/man7 /usr/share/doc /usr/share/licenses /usr/share/bash-completion
    /usr/share/bash-completion/completions /usr/share/zsh /usr/share/zsh/site-functions /usr/share/fish
    /usr/share/fish/vendor_completions.d /usr/include)

# ostrel_package(COMPONENT [RPM_NAME name] SECTION section SUMMARY text DESCRIPTION text
#                [DEB_<FIELD> text]... [RPM_<FIELD> text]...)
function(ostrel_package component)
  set(deb_fields DEPENDS SUGGESTS PROVIDES CONFLICTS REPLACES CONTROL_EXTRA)
  set(rpm_fields NAME REQUIRES PROVIDES CONFLICTS)
  list(TRANSFORM deb_fields PREPEND DEB_ OUTPUT_VARIABLE deb_options)
  list(TRANSFORM rpm_fields PREPEND RPM_ OUTPUT_VARIABLE rpm_options)
  list(REMOVE_ITEM deb_options DEB_CONTROL_EXTRA)
  cmake_parse_arguments(ARG "" "SECTION;SUMMARY;DESCRIPTION;${deb_options};${rpm_options}" DEB_CONTROL_EXTRA ${ARGN})
  string(TOUPPER ${component} upper)
  set(deb CPACK_DEBIAN_${upper})
  set(rpm CPACK_RPM_${component})
  set(${deb}_PACKAGE_NAME ${component} PARENT_SCOPE)
  set(${deb}_PACKAGE_SECTION ${ARG_SECTION} PARENT_SCOPE)
  set(${deb}_DESCRIPTION "${ARG_SUMMARY}\n${ARG_DESCRIPTION}" PARENT_SCOPE)
  foreach(field ${deb_fields})
    if(DEFINED ARG_DEB_${field})
      set(${deb}_PACKAGE_${field} "${ARG_DEB_${field}}" PARENT_SCOPE)
    endif()
  endforeach()
  set(${rpm}_PACKAGE_NAME ${component} PARENT_SCOPE)
  set(${rpm}_PACKAGE_SUMMARY "${ARG_SUMMARY}" PARENT_SCOPE)
  string(REPLACE "\n.\n" "\n\n" description "${ARG_DESCRIPTION}")
  set(${rpm}_PACKAGE_DESCRIPTION "${description}" PARENT_SCOPE)
  foreach(field ${rpm_fields})
    if(DEFINED ARG_RPM_${field})
      set(${rpm}_PACKAGE_${field} "${ARG_RPM_${field}}" PARENT_SCOPE)
    endif()
  endforeach()
endfunction()

ostrel_package(libostrelpci1
  SECTION libs
  SUMMARY "PCI topology providers for CIM object managers"
  DESCRIPTION
"Tells a CIM object manager (SFCB, OpenPegasus, and others that speak CMPI)
about the PCI devices, bridges, PCI Express switches, ports and buses of this
host, and how they hang together.
.
The package holds the provider library, the class schema and the
registrations for object managers."
  DEB_DEPENDS "libhostctl1 (>= ${PROJECT_VERSION}) | ${hostctl_abi} (>= ${OSTREL_HOSTCTL_VERSION})"
  RPM_REQUIRES "${hostctl_abi} >= ${OSTREL_HOSTCTL_VERSION}")

ostrel_package(libhostctl1
  SECTION libs
  SUMMARY "host control library for Linux"
  DESCRIPTION
"The library through which the PCI topology providers see the hardware: the
running kernel, a copy of /sys/bus/pci or a dump that lspci wrote.
.
A platform may have a host control library of its own. A package of it that
provides, conflicts with and replaces ${hostctl_abi} takes the place of
this one."
  DEB_DEPENDS pci.ids
  DEB_PROVIDES "${hostctl_abi} (= ${OSTREL_HOSTCTL_VERSION})"
  DEB_CONFLICTS ${hostctl_abi}
  DEB_REPLACES ${hostctl_abi}
  DEB_CONTROL_EXTRA ${OSTREL_PACKAGES}/triggers ${PROJECT_BINARY_DIR}/packages/shlibs
  RPM_REQUIRES hwdata
  RPM_PROVIDES "${hostctl_abi} = ${OSTREL_HOSTCTL_VERSION}"
  RPM_CONFLICTS ${hostctl_abi})

ostrel_package(libhostctl-dev
  RPM_NAME libhostctl-devel
  SECTION libdevel
  SUMMARY "header for host control libraries"
  DESCRIPTION
"What a program needs that reads the hardware through the host control
library, and what a platform needs that writes a host control library of its
own for the PCI topology providers."
  DEB_DEPENDS "libhostctl1 (= ${PROJECT_VERSION}) | ${hostctl_abi} (>= ${OSTREL_HOSTCTL_VERSION})"
  DEB_SUGGESTS ostrel-pci
  RPM_REQUIRES "${hostctl_abi} >= ${OSTREL_HOSTCTL_VERSION}")

ostrel_package(ostrel-pci
  SECTION admin
  SUMMARY "PCI topology of this host, in a terminal and for WBEM clients"
  DESCRIPTION
"Shows which PCI functions a host has, where they sit, and what drives them.
Answers WBEM clients of this host where it has no CIM object manager, and
registers the PCI topology providers where it has one.
.
The service ostrel-pci is not enabled."
  DEB_DEPENDS "libostrelpci1 (= ${PROJECT_VERSION})"
  DEB_CONTROL_EXTRA ${OSTREL_PACKAGES}/postinst ${OSTREL_PACKAGES}/prerm ${OSTREL_PACKAGES}/postrm
  RPM_REQUIRES "libostrelpci1 = ${PROJECT_VERSION}")
set(CPACK_RPM_ostrel-pci_POST_INSTALL_SCRIPT_FILE ${OSTREL_PACKAGES}/rpm-post)
set(CPACK_RPM_ostrel-pci_PRE_UNINSTALL_SCRIPT_FILE ${OSTREL_PACKAGES}/rpm-preun)
set(CPACK_RPM_ostrel-pci_POST_UNINSTALL_SCRIPT_FILE ${OSTREL_PACKAGES}/rpm-postun)

include(CPack)
