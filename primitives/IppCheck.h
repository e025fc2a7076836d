#pragma once
// SPDX-License-Identifier: Apache-2.0
// The argument checks that all primitives share, in the order in which Ipp.h promises them.

#include "primitives/Ipp.h"

namespace Orvex::Primitives {

inline IppStatus CheckPlanes(const void* src, int srcStep, const void* dst, int dstStep,
                             IppiSize roi) {
  if (src == nullptr || dst == nullptr) return ippStsNullPtrErr;
  if (roi.width <= 0 || roi.height <= 0) return ippStsSizeErr;
  if (srcStep <= 0 || dstStep <= 0) return ippStsStepErr;
  return ippStsNoErr;
}

}  // namespace Orvex::Primitives
