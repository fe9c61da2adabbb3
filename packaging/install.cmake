# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts where, and the Debian package built from it (`make package`).
# Two components: "runtime" (programs, services, man pages, completion, licence) and
# "development" (libraries, headers, CMake package config, pkg-config file).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(_pkg ${CMAKE_CURRENT_LIST_DIR})

# --- programs -------------------------------------------------------------------------------
set(_programs srci-plc pnio-sim srciport-ctl)
if(TARGET srci_server)
  list(PREPEND _programs srci_server)
endif()
install(TARGETS ${_programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)

# --- libraries for other programs: interpreter, controller port, PLC client -----------------
# Their include folders are given as plain source paths; installed consumers find the
# headers under include/ instead.
foreach(_lib srl srciport srci_plc_client)
  get_target_property(_inc ${_lib} INTERFACE_INCLUDE_DIRECTORIES)
  list(TRANSFORM _inc PREPEND "$<BUILD_INTERFACE:")
  list(TRANSFORM _inc APPEND ">")
  set_target_properties(${_lib} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES
                        "${_inc};$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
endforeach()
install(TARGETS srl srciport srci_plc_client EXPORT srci_serverTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/srl/include/srl ${PROJECT_SOURCE_DIR}/srciport/include/srciport
                  ${PROJECT_SOURCE_DIR}/tools/srci_plc/include/srci_plc
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(_cmakedir ${CMAKE_INSTALL_LIBDIR}/cmake/srci_server)
install(EXPORT srci_serverTargets NAMESPACE srci_server:: DESTINATION ${_cmakedir} COMPONENT development)
configure_package_config_file(${_pkg}/cmake/srci_serverConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/srci_serverConfig.cmake INSTALL_DESTINATION ${_cmakedir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/srci_serverConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/srci_serverConfig.cmake ${PROJECT_BINARY_DIR}/srci_serverConfigVersion.cmake
        DESTINATION ${_cmakedir} COMPONENT development)
configure_file(${_pkg}/srci_server.pc.in ${PROJECT_BINARY_DIR}/srci_server.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/srci_server.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

# --- services -------------------------------------------------------------------------------
foreach(_unit srci-server pnio-sim)
  configure_file(${_pkg}/systemd/${_unit}.service.in ${PROJECT_BINARY_DIR}/systemd/${_unit}.service @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/systemd/${_unit}.service DESTINATION lib/systemd/system COMPONENT runtime)
endforeach()

# --- man pages (help2man from --help/--version; srci_server takes no options) ---------------
find_program(SRCI_HELP2MAN help2man)
find_program(SRCI_GZIP gzip)
set(_man_dir ${PROJECT_BINARY_DIR}/man)
set(_man_pages)
if(SRCI_HELP2MAN AND SRCI_GZIP)
  set(_man_names "srci-plc=PLC-side SRCI client for the robot adapter"
                 "pnio-sim=PROFINET I/O manager stand-in for the SRCI robot adapter"
                 "srciport-ctl=control socket client of the simulated robot arm")
  foreach(_entry ${_man_names})
    string(REPLACE "=" ";" _pair "${_entry}")
    list(GET _pair 0 _prog)
    list(GET _pair 1 _what)
    add_custom_command(OUTPUT ${_man_dir}/${_prog}.1.gz
      COMMAND ${CMAKE_COMMAND} -E make_directory ${_man_dir}
      COMMAND ${SRCI_HELP2MAN} --no-info --no-discard-stderr --name=${_what} --output=${_man_dir}/${_prog}.1
              $<TARGET_FILE:${_prog}>
      COMMAND ${SRCI_GZIP} -9nf ${_man_dir}/${_prog}.1
      DEPENDS ${_prog} VERBATIM)
    list(APPEND _man_pages ${_man_dir}/${_prog}.1.gz)
  endforeach()
  add_custom_command(OUTPUT ${_man_dir}/srci_server.1.gz
    COMMAND ${CMAKE_COMMAND} -E make_directory ${_man_dir}
    COMMAND ${SRCI_GZIP} -9nc ${_pkg}/man/srci_server.1 > ${_man_dir}/srci_server.1.gz
    DEPENDS ${_pkg}/man/srci_server.1)
  list(APPEND _man_pages ${_man_dir}/srci_server.1.gz)
  add_custom_target(man ALL DEPENDS ${_man_pages})
  install(FILES ${_man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
endif()

# --- completion, licence, changelog, Wireshark dissector once it exists ---------------------
install(FILES ${_pkg}/bash-completion/srci-plc DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        COMPONENT runtime)
# Debian wants a machine-readable copyright file and a Debian changelog in each package's doc folder.
if(SRCI_GZIP)
  add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/changelog.gz
    COMMAND ${SRCI_GZIP} -9nc ${_pkg}/debian/changelog > ${PROJECT_BINARY_DIR}/changelog.gz
    DEPENDS ${_pkg}/debian/changelog)
  add_custom_target(changelog ALL DEPENDS ${PROJECT_BINARY_DIR}/changelog.gz)
endif()
foreach(_component runtime development)
  set(_docdir ${CMAKE_INSTALL_DATADIR}/doc/srci-server)
  if(_component STREQUAL "development")
    set(_docdir ${_docdir}-dev)
  endif()
  install(FILES ${_pkg}/debian/copyright DESTINATION ${_docdir} COMPONENT ${_component})
  if(SRCI_GZIP)
    install(FILES ${PROJECT_BINARY_DIR}/changelog.gz DESTINATION ${_docdir} COMPONENT ${_component})
  endif()
endforeach()
file(GLOB _dissectors ${PROJECT_SOURCE_DIR}/tools/wireshark/*.lua)
if(_dissectors)
  install(FILES ${_dissectors} DESTINATION ${CMAKE_INSTALL_LIBDIR}/wireshark/plugins COMPONENT runtime)
endif()

# --- Debian package ---------------------------------------------------------------------------
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME srci-server)
set(CPACK_PACKAGE_VENDOR "srci-server project")
set(CPACK_PACKAGE_CONTACT "srci-server maintainers <srci-server@example.com>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
# First line: the synopsis of each package.
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "SRCI robot adapter, PLC client and I/O manager stand-in
Lets a PLC command a six-axis robot arm through SRCI, the Standard Robot
Command Interface: the srci_server adapter with its simulated arm, the
pnio-sim I/O manager stand-in with a TCP gateway, the srci-plc command-line
PLC client and srciport-ctl, with systemd units for adapter and gateway.")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "SRCI interpreter, controller port and PLC client libraries
Static libraries and headers of the SRCI interpreter (srl), the simulated
controller port (srciport) and the PLC client (srci_plc_client), with a
CMake package (find_package(srci_server)) and a pkg-config file.")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME srci-server)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME srci-server-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libc6-dev")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${_pkg}/debian/postinst;${_pkg}/debian/prerm;${_pkg}/debian/postrm)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
include(CPack)
cpack_add_component(runtime DISPLAY_NAME "programs and services" REQUIRED)
cpack_add_component(development DISPLAY_NAME "libraries and headers")
