# SPDX-License-Identifier: Apache-2.0
# Intel IPP in place of our own functions of its names.
include_guard(GLOBAL)

# orvex_use_ipp(TARGET PREFIX): what is compiled in TARGET, and in what uses it, sees IPP's header and links its libraries,
# which lie under PREFIX.
function(orvex_use_ipp target prefix)
  find_path(include ipp.h HINTS ${prefix}/include REQUIRED NO_CACHE)
  target_include_directories(${target} SYSTEM PUBLIC ${include})
  target_compile_definitions(${target} PUBLIC ORVEX_WITH_IPP=1)
  foreach(name ippcc ippi ipps ippcore)
    find_library(library ${name} HINTS ${prefix}/lib ${prefix}/lib/intel64 REQUIRED NO_CACHE)
    target_link_libraries(${target} PUBLIC ${library})
    unset(library)
  endforeach()
endfunction()
