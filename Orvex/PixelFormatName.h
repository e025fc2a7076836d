#pragma once
// SPDX-License-Identifier: Apache-2.0
// Names of pixel formats for messages. Local to each source that includes it; any thread.

#include <cstdint>

#include "PFNC.h"

namespace Orvex {

/// The format that a number of an interface means. What takes more than 32 bits means none, and its
/// low half must not lend it the name and the abilities of another.
constexpr PfncFormat_ AsPixelFormat(uint64_t pixelFormat) {
  return static_cast<PfncFormat_>(pixelFormat <= UINT32_MAX ? pixelFormat : UINT32_MAX);
}

namespace {

/// The name as the enumeration writes it; "InvalidPixelFormat" for 0, "UnknownPixelFormat" for a
/// value that is not listed.
[[maybe_unused]] const char* GetPixelFormatName(PfncFormat_ pixelFormat) {
  switch (pixelFormat) {
    case InvalidPixelFormat:
      return "InvalidPixelFormat";
#define ORVEX_FORMAT_NAME(name, value) \
  case name:                           \
    return #name;
      ORVEX_PFNC_ALL(ORVEX_FORMAT_NAME)
#undef ORVEX_FORMAT_NAME
  }
  return "UnknownPixelFormat";
}

}  // namespace
}  // namespace Orvex
