#pragma once
// SPDX-License-Identifier: Apache-2.0
// One descriptor class for each row of the format table, PF + the format's name: leads the two
// per-format operations to the members of their engines that the row names. No data; any thread.

#include "Orvex/PixelFormatTable.h"
#include "Orvex/ProcessSoftwareLUTImpl.h"
#include "Orvex/SelectBitsAndScaleImpl.h"
#include "PixelFormat.h"

namespace Orvex {

#define ORVEX_PF_CLASS(format, select, output, lut, layout)                                    \
  class PF##format final : public IImplementation,                                             \
                           public SelectBitsAndScaleImpl,                                      \
                           public ProcessSoftwareLUTImpl {                                     \
   public:                                                                                     \
    IImage* SelectBitsAndScale(IImage* pSrc, size_t numBits, double scale) override {          \
      return SelectBitsAndScale_##select(pSrc, numBits, scale, output);                        \
    }                                                                                          \
    IImage* ProcessSoftwareLUT(IImage* pSrc, const uint8_t* pLut, size_t lutLength) override { \
      return ProcessSoftwareLUT_##lut(pSrc, pLut, lutLength);                                  \
    }                                                                                          \
  };
ORVEX_PF_ROWS(ORVEX_PF_CLASS)
#undef ORVEX_PF_CLASS

}  // namespace Orvex
