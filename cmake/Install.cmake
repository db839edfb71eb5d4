# What `cmake --install` puts where, and the Debian package that `cpack -G DEB` makes of it.

set(OSTREL_PROVIDER_DIR ${CMAKE_INSTALL_LIBDIR}/cmpi)  # where object managers look
set(OSTREL_DATA_DIR ${CMAKE_INSTALL_DATADIR}/ostrel-pci)

# The provider library finds libHostCtl.so.1 beside its folder under any prefix, also one that the
# loader's configuration does not know.
set_target_properties(OstrelPCI PROPERTIES INSTALL_RPATH "$ORIGIN/..")
install(TARGETS OstrelPCI LIBRARY DESTINATION ${OSTREL_PROVIDER_DIR})
install(TARGETS HostCtl LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET ostrel-pci)
  install(TARGETS ostrel-pci RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(FILES schema/Ostrel_PCI.mof schema/OMC_UnitaryComputerSystem.mof schema/ostrel-pci.sfcb.reg
              schema/ostrel-pci.pegasus.mof
        DESTINATION ${OSTREL_DATA_DIR})
install(FILES docs/ostrel-pci.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 OPTIONAL)
install(FILES docs/libHostCtl.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7)
install(FILES docs/administrators.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ostrel-pci)
install(FILES src/tool/ostrel-pci.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ostrel-pci OPTIONAL)

# For platform makers, who write a libHostCtl of their own.
install(FILES src/cache/hostctl.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ostrel-pci/cache)
file(RELATIVE_PATH OSTREL_PKGCONFIG_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/hostctl.pc.in hostctl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/hostctl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ostrel-pci)
set(CPACK_PACKAGE_VENDOR Ostrel)
set(CPACK_PACKAGE_CONTACT "Ostrel PCI maintainers <maintainers@ostrel.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_DESCRIPTION
"Tells a CIM object manager (SFCB, OpenPegasus, and others that speak CMPI)
about the PCI devices, bridges, PCI Express switches, ports and buses of this
host, and how they hang together. Works without an object manager as well:
the command ostrel-pci carries a small one and shows the topology to a person
or a script.
.
The package holds the provider library, the host control library that it
reads the hardware through, the command, the class schema and the
registrations for object managers.")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# libOstrelPCI.so needs libHostCtl.so.1, which the package itself brings.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src/platform/hostctl)
set(CPACK_DEBIAN_PACKAGE_DEPENDS pci.ids)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
