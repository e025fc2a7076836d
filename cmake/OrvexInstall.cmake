# SPDX-License-Identifier: Apache-2.0
# What an installed SDK consists of: shared libraries, the producer beside them (where the library looks for it and
# where GENICAM_GENTL64_PATH may point), headers, a CMake package, pkg-config files, the program, the documentation.
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

# The guide and the examples lie to each other as in the tree, so that the links of the pages hold.
set(ORVEX_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/liborvex-dev)
install(FILES ${CMAKE_SOURCE_DIR}/README.md ${CMAKE_SOURCE_DIR}/CONTRIBUTING.md ${CMAKE_SOURCE_DIR}/CHANGELOG.md
  ${CMAKE_SOURCE_DIR}/LICENSE DESTINATION ${ORVEX_DOCDIR} COMPONENT development)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs DESTINATION ${ORVEX_DOCDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.md" PATTERN reference EXCLUDE)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/examples DESTINATION ${ORVEX_DOCDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.cpp")

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

include(${CMAKE_CURRENT_LIST_DIR}/OrvexPackages.cmake)
