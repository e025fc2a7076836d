# SPDX-License-Identifier: Apache-2.0
# What an installed SDK consists of: shared libraries, the producer beside them (where the library looks for it and
# where GENICAM_GENTL64_PATH may point), headers, a CMake package, pkg-config files, the program, Debian packages.
include_guard(GLOBAL)
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ORVEX_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/orvex)
set(ORVEX_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/Orvex)

install(TARGETS Orvex orvex_genapi EXPORT OrvexTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${ORVEX_INCLUDEDIR})
install(TARGETS orvex_gev LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
install(TARGETS orvex_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)

install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/ ${CMAKE_SOURCE_DIR}/genapi/include/
  DESTINATION ${ORVEX_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN "*.h")
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)

set_target_properties(Orvex PROPERTIES EXPORT_NAME Orvex)
set_target_properties(orvex_genapi PROPERTIES EXPORT_NAME GenApi)
# Installed libraries find each other wherever the prefix lies.
set_target_properties(Orvex PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(orvex_cli PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

install(EXPORT OrvexTargets NAMESPACE Orvex:: DESTINATION ${ORVEX_CMAKEDIR} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/OrvexConfig.cmake.in
  ${CMAKE_BINARY_DIR}/OrvexConfig.cmake INSTALL_DESTINATION ${ORVEX_CMAKEDIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/OrvexConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/OrvexConfig.cmake ${CMAKE_BINARY_DIR}/OrvexConfigVersion.cmake
  DESTINATION ${ORVEX_CMAKEDIR} COMPONENT development)

# The packages may be moved: pkg-config finds the prefix from where its file lies.
file(RELATIVE_PATH ORVEX_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
foreach(package orvex orvex-genapi)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${package}.pc.in ${CMAKE_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/${package}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvex)
set(CPACK_PACKAGE_VENDOR "Orvex")
set(CPACK_PACKAGE_CONTACT "The Orvex maintainers <maintainers@orvex.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME liborvex0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "Machine-vision camera SDK, libraries\n The library, the node-map engine and the GigE Vision GenTL producer.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborvex-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "liborvex0 (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "Machine-vision camera SDK, headers\n Headers, CMake package and pkg-config files for building against the library.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME orvex-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "liborvex0 (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
  "Machine-vision camera SDK, command line\n The program orvex: finds, configures and streams cameras, and is a virtual one.")
include(CPack)
