# What `cmake --install` puts where. A component is a package of the same name (Packages.cmake).

set(OSTREL_DATA_DIR ${CMAKE_INSTALL_DATADIR}/ostrel-pci)

# Where libraries go is known when they are installed: the same build is packaged for families of
# distributions that have different folders for them (packages/generator.cmake). Object managers look
# for providers in cmpi.
install(CODE "if(NOT OSTREL_PACKAGE)
  set(OSTREL_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
  set(OSTREL_PROVIDER_DIR \"${CMAKE_INSTALL_LIBDIR}/cmpi\")
endif()" ALL_COMPONENTS)
set(OSTREL_LIBDIR "\${OSTREL_LIBDIR}")
set(OSTREL_PROVIDER_DIR "\${OSTREL_PROVIDER_DIR}")

# The provider library finds libHostCtl.so.1 beside its folder under any prefix, also one that the
# loader's configuration does not know.
set_target_properties(OstrelPCI PROPERTIES INSTALL_RPATH "$ORIGIN/..")
install(TARGETS OstrelPCI LIBRARY DESTINATION ${OSTREL_PROVIDER_DIR} COMPONENT libostrelpci1)
install(FILES schema/Ostrel_PCI.mof schema/OMC_UnitaryComputerSystem.mof schema/ostrel-pci.sfcb.reg
              schema/ostrel-pci.pegasus.mof
        DESTINATION ${OSTREL_DATA_DIR} COMPONENT libostrelpci1)

install(TARGETS HostCtl LIBRARY DESTINATION ${OSTREL_LIBDIR}
        COMPONENT libhostctl1 NAMELINK_COMPONENT libhostctl-dev)

# For platform makers, who write a libHostCtl of their own.
install(FILES src/cache/hostctl.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ostrel-pci/cache
        COMPONENT libhostctl-dev)
install(FILES docs/examples/board_hostctl.cc DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libhostctl-dev/examples
        COMPONENT libhostctl-dev)
file(RELATIVE_PATH OSTREL_PKGCONFIG_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/hostctl.pc.in hostctl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/hostctl.pc DESTINATION ${OSTREL_LIBDIR}/pkgconfig
        COMPONENT libhostctl-dev)

if(TARGET ostrel-pci)
  install(TARGETS ostrel-pci RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ostrel-pci)
endif()
configure_file(cmake/ostrel-pci.service.in ostrel-pci.service @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ostrel-pci.service DESTINATION lib/systemd/system
        COMPONENT ostrel-pci)
install(FILES docs/ostrel-pci.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ostrel-pci)
install(FILES docs/libHostCtl.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7 COMPONENT ostrel-pci)
install(FILES docs/administrators.md docs/log-lines.md CHANGELOG.md LICENSE
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ostrel-pci COMPONENT ostrel-pci)
install(FILES src/tool/ostrel-pci.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ostrel-pci
        COMPONENT ostrel-pci)
install(FILES src/tool/ostrel-pci.zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
        RENAME _ostrel-pci COMPONENT ostrel-pci)
install(FILES src/tool/ostrel-pci.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
        COMPONENT ostrel-pci)

include(cmake/Packages.cmake)
