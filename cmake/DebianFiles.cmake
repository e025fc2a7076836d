# SPDX-License-Identifier: Apache-2.0
# Run by cpack over the folders that become packages: what Debian wants in each beside the files of the install.
cmake_minimum_required(VERSION 3.25)

string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(changelog "orvex (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * What is new is told in /usr/share/doc/liborvex-dev/CHANGELOG.md.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")

set(copyright "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: Orvex

Files: *
Copyright: 2026 The Orvex maintainers
License: Apache-2.0
 On Debian systems the text of the Apache License, version 2.0, is in
 /usr/share/common-licenses/Apache-2.0.
")

find_program(gzip gzip REQUIRED)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
  set(folder ${root}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  file(REMOVE ${folder}/LICENSE)
  file(WRITE ${folder}/copyright "${copyright}")
  file(WRITE ${folder}/changelog "${changelog}")
  file(GLOB pages ${root}/man/man1/*.1)
  execute_process(COMMAND ${gzip} -9nf ${folder}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
