# SPDX-License-Identifier: Apache-2.0
# What every target shares: language level, warnings, visibility, sanitizers, output folders.
include_guard(GLOBAL)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Debian's layout wherever the prefix lies: its loader, CMake and pkg-config look there.
if(CMAKE_LIBRARY_ARCHITECTURE)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Where libraries are installed")
endif()

# One folder for programs and one for libraries, so that the producer lies beside the library.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

find_package(Threads REQUIRED)
find_program(ORVEX_CCACHE ccache)
if(ORVEX_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${ORVEX_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${ORVEX_CCACHE})
endif()

add_library(orvex_flags INTERFACE)
target_compile_options(orvex_flags INTERFACE -Wall -Wextra -Wpedantic)
if(ORVEX_WERROR)
  # g++ 12 sees overlapping and empty copies at -O3 that are not there.
  set(seesGhosts $<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>)
  target_compile_options(orvex_flags INTERFACE $<$<NOT:${seesGhosts}>:-Werror>)
endif()
if(ORVEX_SANITIZE)
  add_compile_options(-fsanitize=${ORVEX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ORVEX_SANITIZE})
  add_compile_definitions(ORVEX_SANITIZED=1)
endif()
if(NOT ORVEX_SANITIZE)
  add_link_options(-Wl,--no-undefined)
endif()

# orvex_static(NAME SOURCES... ): a static library of this tree, built from the given sources.
function(orvex_static name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PRIVATE orvex_flags)
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
endfunction()

# orvex_tests(NAME SOURCES a.cpp... LIBS x y... [LOOPBACK] [TIMEOUT s])
# One GoogleTest program; every case becomes a ctest entry. LOOPBACK: the cases open well-known ports on loopback and
# therefore never run beside each other.
function(orvex_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "LOOPBACK" "TIMEOUT" "SOURCES;LIBS;PROPERTIES")
  find_package(GTest REQUIRED)
  include(GoogleTest)
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE orvex_flags ${arg_LIBS} orvex_test_places GTest::gmock GTest::gtest_main Threads::Threads)
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  set(properties TIMEOUT ${arg_TIMEOUT} ${arg_PROPERTIES})
  if(arg_LOOPBACK)
    list(APPEND properties RESOURCE_LOCK loopback)
  endif()
  gtest_discover_tests(${name} TEST_PREFIX ${name}. NO_PRETTY_VALUES DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
    PROPERTIES ${properties})
endfunction()
