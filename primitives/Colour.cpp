// SPDX-License-Identifier: Apache-2.0
// The colour primitives: checks, tables and the splitting of lines; the work is in ColourRows.cpp.
#include "primitives/ColourRows.h"
#include "primitives/Ipp.h"
#include "primitives/IppCheck.h"
#include "primitives/RowThreads.h"

#if !defined(ORVEX_WITH_IPP)

#include <hwy/targets.h>

#include <algorithm>

namespace {

using namespace Orvex::Primitives;

// Pixels of a picture without gaps that a thread takes at once; even, so that pairs stay together.
constexpr size_t sk_unit = 8192;

// Runs the kernel over all lines of the region, which are one line when nothing lies between them.
IppStatus EachRow(RowKernel kernel, size_t in, size_t out, bool pairs, const void* pSrc,
                  int srcStep, void* pDst, int dstStep, IppiSize roi,
                  const RowParams& params = {}) {
  if (const IppStatus status = CheckPlanes(pSrc, srcStep, pDst, dstStep, roi)) return status;
  const uint8_t* src = static_cast<const uint8_t*>(pSrc);
  uint8_t* dst = static_cast<uint8_t*>(pDst);
  const size_t width = size_t(roi.width), height = size_t(roi.height), n = width * height;
  if (size_t(srcStep) == width * in && size_t(dstStep) == width * out &&
      !(pairs && width % 2 != 0)) {
    SplitRows((n + sk_unit - 1) / sk_unit, n * (in + out), [&](size_t first, size_t last) {
      const size_t begin = first * sk_unit, end = std::min(last * sk_unit, n);
      kernel(params, src + begin * in, dst + begin * out, end - begin);
    });
  } else {
    SplitRows(height, n * (in + out), [&](size_t first, size_t last) {
      for (size_t y = first; y < last; ++y)
        kernel(params, src + y * size_t(srcStep), dst + y * size_t(dstStep), width);
    });
  }
  return ippStsNoErr;
}

// Calls EachRow with the facts of a kernel's row.
#define ORVEX_FACTS(name, in, out, pairs) \
  constexpr struct {                      \
    RowKernel (*kernel)();                \
    size_t sourceBytes, destinationBytes; \
    bool groups;                          \
  } sk_##name{&name, in, out, pairs};
ORVEX_COLOUR_ROWS(ORVEX_FACTS)
#undef ORVEX_FACTS

template <class Facts>
IppStatus Run(const Facts& facts, const void* pSrc, int srcStep, void* pDst, int dstStep,
              IppiSize roi, const RowParams& params = {}) {
  return EachRow(facts.kernel(), facts.sourceBytes, facts.destinationBytes, facts.groups, pSrc,
                 srcStep, pDst, dstStep, roi, params);
}

RowParams Alpha(Ipp8u alpha) {
  RowParams params;
  params.alpha = alpha;
  return params;
}

// From and to channels of T; an order above the source's channels keeps the destination, one equal
// to them takes `value`, where the function has such a value.
template <int From, int To, class T, class Facts>
IppStatus Swap(const Facts& facts, const T* pSrc, int srcStep, T* pDst, int dstStep, IppiSize roi,
               const int* order, T value = 0) {
  if (const IppStatus status = CheckPlanes(pSrc, srcStep, pDst, dstStep, roi)) return status;
  if (order == nullptr) return ippStsNullPtrErr;
  constexpr int sk_size = int(sizeof(T)), sk_pixels = 16 / (sk_size * std::max(From, To));
  constexpr bool sk_hasValue = From == 3 && To == 4;
  ShuffleTable table = {};
  std::fill_n(table.at, 16, uint8_t(0x80));
  for (int c = 0; c < To; ++c) {
    if (order[c] < 0 || (order[c] >= From && !sk_hasValue)) return ippStsChannelOrderErr;
    for (int p = 0; p < sk_pixels; ++p) {
      for (int b = 0; b < sk_size; ++b) {
        const int out = (p * To + c) * sk_size + b;
        if (order[c] < From)
          table.at[out] = uint8_t((p * From + order[c]) * sk_size + b);
        else if (order[c] == From)
          table.fill[out] = uint8_t(value >> 8 * b);
        else
          table.keep[out] = 0xFF;
        table.keepsAny |= order[c] > From;
      }
    }
  }
  RowParams params;
  params.table = &table;
  return Run(facts, pSrc, srcStep, pDst, dstStep, roi, params);
}

}  // namespace

extern "C" {

IppStatus ippInit(void) {
  return ippStsNoErr;
}

IppStatus ippiGrayToRGB_8u_C1C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                 IppiSize roiSize) {
  return Run(sk_GreyToRgb8C3, pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiGrayToRGB_16u_C1C3R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                  IppiSize roiSize) {
  return Run(sk_GreyToRgb16C3, pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiGrayToRGB_8u_C1C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                 IppiSize roiSize, Ipp8u aval) {
  return Run(sk_GreyToRgb8C4, pSrc, srcStep, pDst, dstStep, roiSize, Alpha(aval));
}

IppStatus ippiRGBToGray_8u_C3C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                 IppiSize roiSize) {
  return Run(sk_RgbToGrey8C3, pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiRGBToGray_16u_C3C1R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                  IppiSize roiSize) {
  return Run(sk_RgbToGrey16C3, pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiRGBToGray_8u_AC4C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize roiSize) {
  return Run(sk_RgbToGrey8C4, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiSwapChannels_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize roiSize, const int dstOrder[3]) {
  return Swap<3, 3>(sk_Shuffle3To3, pSrc, srcStep, pDst, dstStep, roiSize, dstOrder);
}
IppStatus ippiSwapChannels_16u_C3R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                   IppiSize roiSize, const int dstOrder[3]) {
  return Swap<3, 3>(sk_Shuffle6To6, pSrc, srcStep, pDst, dstStep, roiSize, dstOrder);
}
IppStatus ippiSwapChannels_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize roiSize, const int dstOrder[4]) {
  return Swap<4, 4>(sk_Shuffle4To4, pSrc, srcStep, pDst, dstStep, roiSize, dstOrder);
}
IppStatus ippiSwapChannels_8u_C3C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                    IppiSize roiSize, const int dstOrder[4], Ipp8u val) {
  return Swap<3, 4>(sk_Shuffle3To4, pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, val);
}
IppStatus ippiSwapChannels_8u_C4C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                    IppiSize roiSize, const int dstOrder[3]) {
  return Swap<4, 3>(sk_Shuffle4To3, pSrc, srcStep, pDst, dstStep, roiSize, dstOrder);
}
IppStatus ippiSwapChannels_16u_C3C4R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                     IppiSize roiSize, const int dstOrder[4], Ipp16u val) {
  return Swap<3, 4>(sk_Shuffle6To8, pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, val);
}
IppStatus ippiSwapChannels_16u_C4C3R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                     IppiSize roiSize, const int dstOrder[3]) {
  return Swap<4, 3>(sk_Shuffle8To6, pSrc, srcStep, pDst, dstStep, roiSize, dstOrder);
}

IppStatus ippiScale_8u16u_C1R(const Ipp8u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                              IppiSize roiSize) {
  return Run(sk_Scale8To16C1, pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiScale_8u16u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                               IppiSize roiSize) {
  return Run(sk_Scale8To16AC4, pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiScale_16u8u_C1R(const Ipp16u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                              IppiSize roiSize, IppHintAlgorithm) {
  return Run(sk_Scale16To8C1, pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiScale_16u8u_AC4R(const Ipp16u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                               IppiSize roiSize, IppHintAlgorithm) {
  return Run(sk_Scale16To8AC4, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiCbYCr422ToBGR_8u_C2C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                     IppiSize roiSize, Ipp8u aval) {
  return Run(sk_CbYCr422ToBgr, pSrc, srcStep, pDst, dstStep, roiSize, Alpha(aval));
}
IppStatus ippiYCbCr422ToBGR_8u_C2C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                     IppiSize roiSize, Ipp8u aval) {
  return Run(sk_YCbCr422ToBgr, pSrc, srcStep, pDst, dstStep, roiSize, Alpha(aval));
}
IppStatus ippiBGRToCbYCr422_8u_AC4C2R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                      IppiSize roiSize) {
  return Run(sk_BgrToCbYCr422, pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiBGRToYCbCr422_8u_AC4C2R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                      IppiSize roiSize) {
  return Run(sk_BgrToYCbCr422, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiYCbCrToRGB_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                IppiSize roiSize) {
  return Run(sk_YCbCrToRgb, pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiRGBToYCbCr_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                IppiSize roiSize) {
  return Run(sk_RgbToYCbCr, pSrc, srcStep, pDst, dstStep, roiSize);
}

}  // extern "C"

#endif  // ORVEX_WITH_IPP
