# SPDX-License-Identifier: Apache-2.0
# Virtual cameras and receivers in processes and network namespaces of their own, for tests and benchmarks.
if(NOT TARGET orvex_network_lab)
  add_library(orvex_network_lab STATIC ${CMAKE_SOURCE_DIR}/tests/network/Lab.cpp ${CMAKE_SOURCE_DIR}/tests/network/Run.cpp)
  target_include_directories(orvex_network_lab PUBLIC ${CMAKE_SOURCE_DIR})
  target_link_libraries(orvex_network_lab PUBLIC Orvex::Orvex Orvex::GenApi orvex_simulator orvex_producer PRIVATE orvex_flags)
  add_dependencies(orvex_network_lab orvex_gev)
endif()
