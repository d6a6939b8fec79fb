# Install rules, the exported CMake package, pkg-config files, the srpolicy
# man page and the Debian packages (CPack). Three install components:
#   runtime  the shared library                     -> libbol-srpolicy1
#   dev      headers, static libraries, namelink,
#            CMake package and pkg-config files     -> libbol-srpolicy-dev
#   tool     srpolicy, its man page, README, samples -> srpolicy
include(CMakePackageConfigHelpers)

set(BOL_DEB_RUNTIME libbol-srpolicy${PROJECT_VERSION_MAJOR})
set(BOL_DEB_DEV libbol-srpolicy-dev)
set(BOL_DEB_TOOL srpolicy)
set(BOL_DEB_RELEASE 1)
set(BOL_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/bol_srpolicy)
set(BOL_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/bol_srpolicy)
set(BOL_INSTALL_PCDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(BOL_PACKAGE_DIR ${CMAKE_CURRENT_SOURCE_DIR}/cmake/package)
set(BOL_PACKAGE_BINARY_DIR ${CMAKE_CURRENT_BINARY_DIR}/package)

# ---- Libraries and headers ----------------------------------------------------
install(TARGETS bol_srpolicy_shared EXPORT bol_srpolicyTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
install(TARGETS bol_srpolicy bol_platform EXPORT bol_srpolicyTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(FILES include/bol_srpolicy.h platform/bol_platform.h DESTINATION ${BOL_INSTALL_INCLUDEDIR} COMPONENT dev)

# ---- CMake package ----------------------------------------------------------------
install(EXPORT bol_srpolicyTargets NAMESPACE bol_srpolicy:: DESTINATION ${BOL_INSTALL_CMAKEDIR} COMPONENT dev)
configure_package_config_file(${BOL_PACKAGE_DIR}/bol_srpolicyConfig.cmake.in
  ${BOL_PACKAGE_BINARY_DIR}/bol_srpolicyConfig.cmake INSTALL_DESTINATION ${BOL_INSTALL_CMAKEDIR})
# A host asking for 1.x takes any 1.y; the pointer width must match too.
write_basic_package_version_file(${BOL_PACKAGE_BINARY_DIR}/bol_srpolicyConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${BOL_PACKAGE_BINARY_DIR}/bol_srpolicyConfig.cmake ${BOL_PACKAGE_BINARY_DIR}/bol_srpolicyConfigVersion.cmake
  DESTINATION ${BOL_INSTALL_CMAKEDIR} COMPONENT dev)

# ---- pkg-config -------------------------------------------------------------------
# The prefix is found from the .pc file's own place, so that a staged or
# unpacked tree works where it lies.
file(RELATIVE_PATH BOL_PC_PREFIX_FROM_PCDIR /prefix/${BOL_INSTALL_PCDIR} /prefix)
string(REGEX REPLACE "/$" "" BOL_PC_PREFIX_FROM_PCDIR "${BOL_PC_PREFIX_FROM_PCDIR}")
foreach(_pc bol_srpolicy bol_srpolicy-platform)
  configure_file(${BOL_PACKAGE_DIR}/${_pc}.pc.in ${BOL_PACKAGE_BINARY_DIR}/${_pc}.pc @ONLY)
  install(FILES ${BOL_PACKAGE_BINARY_DIR}/${_pc}.pc DESTINATION ${BOL_INSTALL_PCDIR} COMPONENT dev)
endforeach()

# ---- The srpolicy tool ------------------------------------------------------------
set(BOL_COMPONENTS runtime dev)
if(TARGET srpolicy)
  list(APPEND BOL_COMPONENTS tool)
  install(TARGETS srpolicy RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  install(FILES tools/README.md DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${BOL_DEB_TOOL} COMPONENT tool)
  # `srpolicy decode --sample` finds the sample here, relative to the program.
  install(DIRECTORY samples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/srpolicy/samples COMPONENT tool)
  file(RELATIVE_PATH _sample_from_bin /prefix/${CMAKE_INSTALL_BINDIR}
    /prefix/${CMAKE_INSTALL_DATADIR}/srpolicy/samples/all_subtlvs.hex)
  target_compile_definitions(srpolicy PRIVATE SRPOLICY_INSTALLED_SAMPLE="${_sample_from_bin}")

  # The man page is made from the program's own help; cross builds cannot run it.
  find_program(BOL_HELP2MAN help2man)
  if(BOL_HELP2MAN AND NOT CMAKE_CROSSCOMPILING)
    add_custom_command(OUTPUT ${BOL_PACKAGE_BINARY_DIR}/srpolicy.1.gz
      COMMAND ${CMAKE_COMMAND} -DTOOL=$<TARGET_FILE:srpolicy> -DHELP2MAN=${BOL_HELP2MAN}
              -DOUT=${BOL_PACKAGE_BINARY_DIR}/srpolicy.1 -P ${BOL_PACKAGE_DIR}/manpage.cmake
      DEPENDS srpolicy ${BOL_PACKAGE_DIR}/manpage.cmake
      COMMENT "Man page of srpolicy" VERBATIM)
    add_custom_target(srpolicy_man ALL DEPENDS ${BOL_PACKAGE_BINARY_DIR}/srpolicy.1.gz)
    install(FILES ${BOL_PACKAGE_BINARY_DIR}/srpolicy.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
  else()
    message(STATUS "help2man not found: srpolicy is installed without its man page")
  endif()
endif()

# ---- Debian packages ----------------------------------------------------------------
set(CPACK_PACKAGE_NAME bol-srpolicy)
set(CPACK_PACKAGE_VENDOR "libbol_srpolicy developers")
set(CPACK_PACKAGE_CONTACT "libbol_srpolicy developers <packaging@bol-srpolicy.invalid>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${BOL_COMPONENTS})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${BOL_DEB_RELEASE})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(BOL_DEB_VERSION ${PROJECT_VERSION}-${BOL_DEB_RELEASE})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${BOL_DEB_RUNTIME})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The shlibs file lets packages built against the library depend on it; the
# trigger runs ldconfig once after all packages are unpacked.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${BOL_PACKAGE_DIR}/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "SR Policy address-family plug-in of the BOL BGP codec host
The plug-in decodes and encodes SR Policy NLRI (AFI 1/2, SAFI 73) and the
Tunnel Encapsulation attribute for a table-driven BGP host, renders routes
as text and translates them to and from the host's messages and
configuration records. The host provides the platform functions.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME ${BOL_DEB_DEV})
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${BOL_DEB_RUNTIME} (= ${BOL_DEB_VERSION})")
set(CPACK_COMPONENT_DEV_DESCRIPTION "SR Policy plug-in of the BOL BGP codec host - development files
Headers, the static plug-in, the default platform library, the CMake
package (find_package(bol_srpolicy)) and pkg-config files (bol_srpolicy,
bol_srpolicy-platform) for building a BGP host with the SR Policy plug-in.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME ${BOL_DEB_TOOL})
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION net)
set(CPACK_COMPONENT_TOOL_DESCRIPTION "command-line BGP host of the SR Policy plug-in
srpolicy decodes BGP UPDATE messages from hex, raw streams, pcap captures
and MRT files into SR Policy routes, and encodes configured routes into
UPDATE messages and captures.")

# Every package carries its copyright and changelog in its documentation folder.
string(TIMESTAMP BOL_DEB_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
find_program(BOL_GZIP gzip)
foreach(_comp ${BOL_COMPONENTS})
  string(TOUPPER ${_comp} _COMP)
  set(BOL_DEB_PACKAGE ${CPACK_DEBIAN_${_COMP}_PACKAGE_NAME})
  set(_docdir ${CMAKE_INSTALL_DATAROOTDIR}/doc/${BOL_DEB_PACKAGE})
  install(FILES ${BOL_PACKAGE_DIR}/copyright DESTINATION ${_docdir} COMPONENT ${_comp})
  if(BOL_GZIP)
    set(_changelog ${BOL_PACKAGE_BINARY_DIR}/${BOL_DEB_PACKAGE}/changelog.Debian)
    configure_file(${BOL_PACKAGE_DIR}/changelog.in ${_changelog} @ONLY)
    add_custom_command(OUTPUT ${_changelog}.gz COMMAND ${BOL_GZIP} -9nkf ${_changelog} DEPENDS ${_changelog} VERBATIM)
    add_custom_target(${BOL_DEB_PACKAGE}_changelog ALL DEPENDS ${_changelog}.gz)
    install(FILES ${_changelog}.gz DESTINATION ${_docdir} COMPONENT ${_comp})
  endif()
endforeach()

include(CPack)
