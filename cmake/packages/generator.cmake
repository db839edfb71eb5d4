# Read by cpack for each kind of package: what the installation scripts are told (finish.cmake).
if(CPACK_GENERATOR STREQUAL "DEB")
  set(libdir lib/${CPACK_OSTREL_ARCHITECTURE})
  set(provider_dir lib/cmpi)
else()
  set(libdir lib64)
  set(provider_dir lib64/cmpi)
endif()
set(CPACK_CUSTOM_INSTALL_VARIABLES
    OSTREL_PACKAGE=${CPACK_GENERATOR} OSTREL_LIBDIR=${libdir} OSTREL_PROVIDER_DIR=${provider_dir})
