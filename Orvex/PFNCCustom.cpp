// SPDX-License-Identifier: Apache-2.0
// The layout functions.
#include <string>

#include "Orvex/Check.h"
#include "Orvex/PixelFormatName.h"
#include "Orvex/PixelFormatTable.h"
#include "PixelFormat.h"

namespace Orvex {

namespace {

constexpr size_t sk_dualChannels = 2;
constexpr size_t sk_quadChannels = 4;

// All zeros for a format whose layout is not known.
PixelLayout LayoutOf(uint64_t pixelFormat) {
  switch (pixelFormat) {
#define ORVEX_PF_LAYOUT(format, select, output, lut, layout) \
  case format:                                               \
    return Layouts::layout;
    ORVEX_PF_ROWS(ORVEX_PF_LAYOUT)
#undef ORVEX_PF_LAYOUT
    default:
      return Layouts::LUnknown;
  }
}

// Dual and quad formats know their channels and nothing else.
size_t ChannelsOf(uint64_t pixelFormat) {
  switch (pixelFormat) {
#define ORVEX_PF_DUAL(format, value) case format:
    ORVEX_PFNC_DUAL(ORVEX_PF_DUAL)
#undef ORVEX_PF_DUAL
    return sk_dualChannels;
#define ORVEX_PF_QUAD(format, value) case format:
    ORVEX_PFNC_QUAD(ORVEX_PF_QUAD)
#undef ORVEX_PF_QUAD
    return sk_quadChannels;
    default:
      return LayoutOf(pixelFormat).channels;
  }
}

size_t Known(size_t fact, const char* function, uint64_t pixelFormat) {
  if (fact == 0) {
    THROW_DIRECT(InvalidArgumentException, std::string(function) + " not implemented for " +
                                               GetPixelFormatName(AsPixelFormat(pixelFormat)));
  }
  return fact;
}

}  // namespace

size_t GetBitsPerPixel(uint64_t pixelFormat) {
  return (pixelFormat >> 16) & 0xFF;
}

size_t GetNumChannels(uint64_t pixelFormat) {
  return Known(ChannelsOf(pixelFormat), __func__, pixelFormat);
}

size_t GetBitsPerChannel(uint64_t pixelFormat) {
  return Known(LayoutOf(pixelFormat).bitsPerChannel, __func__, pixelFormat);
}

size_t GetBytesPerStep(uint64_t pixelFormat) {
  return Known(LayoutOf(pixelFormat).bytesPerStep, __func__, pixelFormat);
}

size_t GetPixelsPerStep(uint64_t pixelFormat) {
  return Known(LayoutOf(pixelFormat).pixelsPerStep, __func__, pixelFormat);
}

}  // namespace Orvex
