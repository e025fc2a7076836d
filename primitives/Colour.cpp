// SPDX-License-Identifier: Apache-2.0
// The colour primitives: checks, tables and the splitting of lines; the work is in ColourRows.cpp.
#include "primitives/ColourRows.h"
#include "primitives/Ipp.h"
#include "primitives/IppCheck.h"
#include "primitives/RowThreads.h"
#include "primitives/WriteAround.h"

#if !defined(ORVEX_WITH_IPP)

#include <hwy/targets.h>

#include <algorithm>

namespace {

using namespace Orvex::Primitives;

// Pixels of a picture without gaps that a thread takes at once; even, so that pairs stay together.
constexpr size_t sk_unit = 8192;

// Runs the kernel over all lines of the region, which are one line when nothing lies between them.
IppStatus EachRow(RowKernel kernel, size_t in, size_t out, bool pairs, const void* pSrc,
                  int srcStep, void* pDst, int dstStep, IppiSize roi, RowParams params) {
  if (const IppStatus status = CheckPlanes(pSrc, srcStep, pDst, dstStep, roi)) return status;
  const uint8_t* src = static_cast<const uint8_t*>(pSrc);
  uint8_t* dst = static_cast<uint8_t*>(pDst);
  const size_t width = size_t(roi.width), height = size_t(roi.height), n = width * height;
  params.around = WritesAround(n * out);
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
              IppiSize roi, const RowParams& params) {
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
               const int* order, T value) {
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

#define ORVEX_PLANES(From, To) \
  const From *pSrc, int srcStep, To *pDst, int dstStep, IppiSize roiSize

// Functions that take nothing but the planes.
#define ORVEX_FUNCTION(name, From, To, kernel)                          \
  IppStatus name(ORVEX_PLANES(From, To)) {                              \
    return Run(sk_##kernel, pSrc, srcStep, pDst, dstStep, roiSize, {}); \
  }
ORVEX_FUNCTION(ippiGrayToRGB_8u_C1C3R, Ipp8u, Ipp8u, GreyToRgb8C3)
ORVEX_FUNCTION(ippiGrayToRGB_16u_C1C3R, Ipp16u, Ipp16u, GreyToRgb16C3)
ORVEX_FUNCTION(ippiRGBToGray_8u_C3C1R, Ipp8u, Ipp8u, RgbToGrey8C3)
ORVEX_FUNCTION(ippiRGBToGray_16u_C3C1R, Ipp16u, Ipp16u, RgbToGrey16C3)
ORVEX_FUNCTION(ippiRGBToGray_8u_AC4C1R, Ipp8u, Ipp8u, RgbToGrey8C4)
ORVEX_FUNCTION(ippiScale_8u16u_C1R, Ipp8u, Ipp16u, Scale8To16C1)
ORVEX_FUNCTION(ippiScale_8u16u_AC4R, Ipp8u, Ipp16u, Scale8To16AC4)
ORVEX_FUNCTION(ippiBGRToCbYCr422_8u_AC4C2R, Ipp8u, Ipp8u, BgrToCbYCr422)
ORVEX_FUNCTION(ippiBGRToYCbCr422_8u_AC4C2R, Ipp8u, Ipp8u, BgrToYCbCr422)
ORVEX_FUNCTION(ippiYCbCrToRGB_8u_C3R, Ipp8u, Ipp8u, YCbCrToRgb)
ORVEX_FUNCTION(ippiRGBToYCbCr_8u_C3R, Ipp8u, Ipp8u, RgbToYCbCr)
#undef ORVEX_FUNCTION

// Functions that fill a fourth channel.
#define ORVEX_FUNCTION(name, kernel)                                             \
  IppStatus name(ORVEX_PLANES(Ipp8u, Ipp8u), Ipp8u aval) {                       \
    return Run(sk_##kernel, pSrc, srcStep, pDst, dstStep, roiSize, Alpha(aval)); \
  }
ORVEX_FUNCTION(ippiGrayToRGB_8u_C1C4R, GreyToRgb8C4)
ORVEX_FUNCTION(ippiCbYCr422ToBGR_8u_C2C4R, CbYCr422ToBgr)
ORVEX_FUNCTION(ippiYCbCr422ToBGR_8u_C2C4R, YCbCr422ToBgr)
#undef ORVEX_FUNCTION

// Functions that could be told to be less accurate.
#define ORVEX_FUNCTION(name, kernel)                                    \
  IppStatus name(ORVEX_PLANES(Ipp16u, Ipp8u), IppHintAlgorithm) {       \
    return Run(sk_##kernel, pSrc, srcStep, pDst, dstStep, roiSize, {}); \
  }
ORVEX_FUNCTION(ippiScale_16u8u_C1R, Scale16To8C1)
ORVEX_FUNCTION(ippiScale_16u8u_AC4R, Scale16To8AC4)
#undef ORVEX_FUNCTION

#define ORVEX_FUNCTION(name, T, from, to, kernel)                                              \
  IppStatus name(ORVEX_PLANES(T, T), const int dstOrder[to]) {                                 \
    return Swap<from, to>(sk_##kernel, pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, T(0)); \
  }
ORVEX_FUNCTION(ippiSwapChannels_8u_C3R, Ipp8u, 3, 3, Shuffle3To3)
ORVEX_FUNCTION(ippiSwapChannels_16u_C3R, Ipp16u, 3, 3, Shuffle6To6)
ORVEX_FUNCTION(ippiSwapChannels_8u_C4R, Ipp8u, 4, 4, Shuffle4To4)
ORVEX_FUNCTION(ippiSwapChannels_8u_C4C3R, Ipp8u, 4, 3, Shuffle4To3)
ORVEX_FUNCTION(ippiSwapChannels_16u_C4C3R, Ipp16u, 4, 3, Shuffle8To6)
#undef ORVEX_FUNCTION

// Functions that may fill the fourth channel.
#define ORVEX_FUNCTION(name, T, kernel)                                                   \
  IppStatus name(ORVEX_PLANES(T, T), const int dstOrder[4], T val) {                      \
    return Swap<3, 4>(sk_##kernel, pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, val); \
  }
ORVEX_FUNCTION(ippiSwapChannels_8u_C3C4R, Ipp8u, Shuffle3To4)
ORVEX_FUNCTION(ippiSwapChannels_16u_C3C4R, Ipp16u, Shuffle6To8)
#undef ORVEX_FUNCTION
#undef ORVEX_PLANES

}  // extern "C"

#endif  // ORVEX_WITH_IPP
