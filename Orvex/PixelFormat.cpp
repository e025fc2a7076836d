// SPDX-License-Identifier: Apache-2.0
#include "PixelFormat.h"

#include <stdexcept>
#include <string>

#include "Orvex/PixelFormatDescriptors.h"
#include "Orvex/PixelFormatName.h"

namespace Orvex {

IImplementation* GetPixelFormat(PfncFormat_ pixelFormat) {
  switch (pixelFormat) {
#define ORVEX_PF_CASE(format, select, output, lut, layout) \
  case format:                                             \
    return new PF##format;
    ORVEX_PF_ROWS(ORVEX_PF_CASE)
#undef ORVEX_PF_CASE
    default:
      throw std::logic_error(std::string("pixel format ") + GetPixelFormatName(pixelFormat) +
                             " not implemented");
  }
}

void DestroyPixelFormat(IImplementation* pImplementation) {
  delete pImplementation;
}

}  // namespace Orvex
