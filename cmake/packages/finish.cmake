# Run for each component when it is installed: what files in a package of distributions are otherwise
# than `cmake --install` leaves them.
if(NOT OSTREL_PACKAGE)
  return()
endif()
# file(INSTALL) puts DESTDIR before its folder, other commands do not.
set(prefix "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}")

function(compress file)
  execute_process(COMMAND gzip -9n "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

if(OSTREL_PACKAGE STREQUAL "DEB")
  set(doc share/doc/${CMAKE_INSTALL_COMPONENT})
  file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/${doc}" TYPE FILE
       FILES "${CMAKE_CURRENT_LIST_DIR}/copyright" "${OSTREL_CHANGELOG}")
  compress("${prefix}/${doc}/changelog")
else()
  string(REGEX REPLACE "-dev$" "-devel" package ${CMAKE_INSTALL_COMPONENT})
  file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/share/licenses/${package}" TYPE FILE
       FILES "${CMAKE_CURRENT_LIST_DIR}/../../LICENSE")
endif()

# Distributions have a place of their own for it.
file(REMOVE "${prefix}/share/doc/ostrel-pci/LICENSE")

# Puts `after` in the place of each `before` in a file.
function(rewrite file before after)
  file(READ "${file}" text)
  string(REPLACE "${before}" "${after}" text "${text}")
  file(WRITE "${file}" "${text}")
endfunction()

if(CMAKE_INSTALL_COMPONENT STREQUAL "libostrelpci1")
  # The loader knows the folder of libHostCtl.so.1.
  file(RPATH_REMOVE FILE "${prefix}/${OSTREL_PROVIDER_DIR}/libOstrelPCI.so")
elseif(CMAKE_INSTALL_COMPONENT STREQUAL "libhostctl-dev")
  file(RELATIVE_PATH to_prefix "/prefix/${OSTREL_LIBDIR}/pkgconfig" /prefix)
  rewrite("${prefix}/${OSTREL_LIBDIR}/pkgconfig/hostctl.pc"
          "\${pcfiledir}/${OSTREL_PKGCONFIG_TO_PREFIX}" "\${pcfiledir}/${to_prefix}")
elseif(CMAKE_INSTALL_COMPONENT STREQUAL "ostrel-pci")
  file(GLOB pages "${prefix}/share/man/man*/*.[1-9]")
  foreach(page ${pages})
    compress("${page}")
  endforeach()
  rewrite("${prefix}/lib/systemd/system/ostrel-pci.service" "=${OSTREL_FULL_BINDIR}/" "=/usr/bin/")
endif()
