// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstring>

#include "primitives/Ipp.h"
#include "primitives/IppCheck.h"
#include "primitives/RowThreads.h"

#if !defined(ORVEX_WITH_IPP)

using Orvex::Primitives::CheckPlanes;
using Orvex::Primitives::SplitRows;

namespace {

// Runs row(src, dst) over all lines of the region.
template <class S, class D, class Row>
IppStatus EachRow(const S* src, int srcStep, D* dst, int dstStep, IppiSize roi, Row row) {
  if (const IppStatus status = CheckPlanes(src, srcStep, dst, dstStep, roi)) return status;
  SplitRows(size_t(roi.height), size_t(roi.height) * (size_t(srcStep) + dstStep),
            [&](size_t first, size_t last) {
              for (size_t y = first; y < last; ++y) {
                row(reinterpret_cast<const S*>(reinterpret_cast<const uint8_t*>(src) +
                                               y * size_t(srcStep)),
                    reinterpret_cast<D*>(reinterpret_cast<uint8_t*>(dst) + y * size_t(dstStep)),
                    size_t(roi.width));
              }
            });
  return ippStsNoErr;
}

uint8_t Clamp8(int value) {
  return uint8_t(std::clamp(value, 0, 255));
}

template <class T>
T Grey(T a, T b, T c) {
  if constexpr (sizeof(T) == 1)
    return T((9798u * a + 19235u * b + 3735u * c + 16384u) >> 15);
  else
    return T((19595u * a + 38470u * b + 7471u * c + 32768u) >> 16);
}

template <int Channels, class T>
IppStatus ToGrey(const T* src, int srcStep, T* dst, int dstStep, IppiSize roi) {
  return EachRow(src, srcStep, dst, dstStep, roi, [](const T* s, T* d, size_t n) {
    for (size_t i = 0; i < n; ++i, s += Channels) d[i] = Grey(s[0], s[1], s[2]);
  });
}

template <int Channels, class T>
IppStatus FromGrey(const T* src, int srcStep, T* dst, int dstStep, IppiSize roi, T alpha) {
  return EachRow(src, srcStep, dst, dstStep, roi, [alpha](const T* s, T* d, size_t n) {
    for (size_t i = 0; i < n; ++i, d += Channels) {
      d[0] = d[1] = d[2] = s[i];
      if (Channels == 4) d[Channels - 1] = alpha;
    }
  });
}

template <int From, int To, class T>
IppStatus Swap(const T* src, int srcStep, T* dst, int dstStep, IppiSize roi, const int* order,
               T value) {
  if (const IppStatus status = CheckPlanes(src, srcStep, dst, dstStep, roi)) return status;
  if (order == nullptr) return ippStsNullPtrErr;
  for (int c = 0; c < To; ++c) {
    if (order[c] < 0 || (order[c] >= From && To <= From)) return ippStsChannelOrderErr;
  }
  return EachRow(src, srcStep, dst, dstStep, roi, [order, value](const T* s, T* d, size_t n) {
    for (size_t i = 0; i < n; ++i, s += From, d += To) {
      T pixel[From];
      std::copy_n(s, From, pixel);
      for (int c = 0; c < To; ++c) {
        if (order[c] < From)
          d[c] = pixel[order[c]];
        else if (order[c] == From)
          d[c] = value;
      }
    }
  });
}

template <int Step, class S, class D>
IppStatus Scale(const S* src, int srcStep, D* dst, int dstStep, IppiSize roi) {
  return EachRow(src, srcStep, dst, dstStep, roi, [](const S* s, D* d, size_t n) {
    for (size_t i = 0; i < n * Step; ++i) {
      if (Step == 4 && i % 4 == 3) continue;
      if constexpr (sizeof(S) == 1)
        d[i] = D(s[i] * 257u);
      else
        d[i] = D((s[i] + 128u) / 257u);
    }
  });
}

// Fifteen fraction bits.
uint8_t LumaOf(int r, int g, int b) {
  return Clamp8((8421 * r + 16515 * g + 3211 * b + (16 << 15) + 16384) >> 15);
}
uint8_t CbOf(int r, int g, int b, int bits) {
  return Clamp8((-4850 * r - 9535 * g + 14385 * b + (128 << bits) + (1 << (bits - 1))) >> bits);
}
uint8_t CrOf(int r, int g, int b, int bits) {
  return Clamp8((14385 * r - 12059 * g - 2326 * b + (128 << bits) + (1 << (bits - 1))) >> bits);
}

// Thirteen fraction bits.
struct Rgb {
  uint8_t r, g, b;
};
Rgb RgbOf(int y, int cb, int cr) {
  y = 9535 * (y - 16) + 4096;
  cb -= 128;
  cr -= 128;
  return {Clamp8((y + 13074 * cr) >> 13), Clamp8((y - 6660 * cr - 3211 * cb) >> 13),
          Clamp8((y + 16523 * cb) >> 13)};
}

template <bool LumaFirst>
IppStatus From422(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, IppiSize roi,
                  Ipp8u alpha) {
  return EachRow(src, srcStep, dst, dstStep, roi, [alpha](const uint8_t* s, uint8_t* d, size_t n) {
    uint8_t cr = 128;
    for (size_t i = 0; i < n; ++i, d += 4) {
      const uint8_t* group = s + i / 2 * 4;
      if ((i | 1) < n) cr = group[LumaFirst ? 3 : 2];
      const Rgb p = RgbOf(group[i % 2 * 2 + (LumaFirst ? 0 : 1)], group[LumaFirst ? 1 : 0], cr);
      d[0] = p.b;
      d[1] = p.g;
      d[2] = p.r;
      d[3] = alpha;
    }
  });
}

template <bool LumaFirst>
IppStatus To422(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, IppiSize roi) {
  return EachRow(src, srcStep, dst, dstStep, roi, [](const uint8_t* s, uint8_t* d, size_t n) {
    constexpr int luma = LumaFirst ? 0 : 1, chroma = 1 - luma;
    for (size_t i = 0; i < n; i += 2, s += 8, d += 4) {
      const uint8_t* t = i + 1 < n ? s + 4 : s;
      const int b = s[0] + t[0], g = s[1] + t[1], r = s[2] + t[2];
      d[luma] = LumaOf(s[2], s[1], s[0]);
      d[chroma] = CbOf(r, g, b, 16);
      if (i + 1 == n) break;
      d[luma + 2] = LumaOf(t[2], t[1], t[0]);
      d[chroma + 2] = CrOf(r, g, b, 16);
    }
  });
}

}  // namespace

extern "C" {

IppStatus ippInit(void) {
  return ippStsNoErr;
}

IppStatus ippiGrayToRGB_8u_C1C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                 IppiSize roiSize) {
  return FromGrey<3>(pSrc, srcStep, pDst, dstStep, roiSize, Ipp8u(0));
}
IppStatus ippiGrayToRGB_16u_C1C3R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                  IppiSize roiSize) {
  return FromGrey<3>(pSrc, srcStep, pDst, dstStep, roiSize, Ipp16u(0));
}
IppStatus ippiGrayToRGB_8u_C1C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                 IppiSize roiSize, Ipp8u aval) {
  return FromGrey<4>(pSrc, srcStep, pDst, dstStep, roiSize, aval);
}

IppStatus ippiRGBToGray_8u_C3C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                 IppiSize roiSize) {
  return ToGrey<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiRGBToGray_16u_C3C1R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                  IppiSize roiSize) {
  return ToGrey<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiRGBToGray_8u_AC4C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize roiSize) {
  return ToGrey<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiSwapChannels_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize roiSize, const int dstOrder[3]) {
  return Swap<3, 3>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, Ipp8u(0));
}
IppStatus ippiSwapChannels_16u_C3R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                   IppiSize roiSize, const int dstOrder[3]) {
  return Swap<3, 3>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, Ipp16u(0));
}
IppStatus ippiSwapChannels_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize roiSize, const int dstOrder[4]) {
  return Swap<4, 4>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, Ipp8u(0));
}
IppStatus ippiSwapChannels_8u_C3C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                    IppiSize roiSize, const int dstOrder[4], Ipp8u val) {
  return Swap<3, 4>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, val);
}
IppStatus ippiSwapChannels_8u_C4C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                    IppiSize roiSize, const int dstOrder[3]) {
  return Swap<4, 3>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, Ipp8u(0));
}
IppStatus ippiSwapChannels_16u_C3C4R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                     IppiSize roiSize, const int dstOrder[4], Ipp16u val) {
  return Swap<3, 4>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, val);
}
IppStatus ippiSwapChannels_16u_C4C3R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                     IppiSize roiSize, const int dstOrder[3]) {
  return Swap<4, 3>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, Ipp16u(0));
}

IppStatus ippiScale_8u16u_C1R(const Ipp8u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                              IppiSize roiSize) {
  return Scale<1>(pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiScale_8u16u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                               IppiSize roiSize) {
  return Scale<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiScale_16u8u_C1R(const Ipp16u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                              IppiSize roiSize, IppHintAlgorithm) {
  return Scale<1>(pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiScale_16u8u_AC4R(const Ipp16u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                               IppiSize roiSize, IppHintAlgorithm) {
  return Scale<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiCbYCr422ToBGR_8u_C2C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                     IppiSize roiSize, Ipp8u aval) {
  return From422<false>(pSrc, srcStep, pDst, dstStep, roiSize, aval);
}
IppStatus ippiYCbCr422ToBGR_8u_C2C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                     IppiSize roiSize, Ipp8u aval) {
  return From422<true>(pSrc, srcStep, pDst, dstStep, roiSize, aval);
}
IppStatus ippiBGRToCbYCr422_8u_AC4C2R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                      IppiSize roiSize) {
  return To422<false>(pSrc, srcStep, pDst, dstStep, roiSize);
}
IppStatus ippiBGRToYCbCr422_8u_AC4C2R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                      IppiSize roiSize) {
  return To422<true>(pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiYCbCrToRGB_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                IppiSize roiSize) {
  return EachRow(pSrc, srcStep, pDst, dstStep, roiSize, [](const uint8_t* s, uint8_t* d, size_t n) {
    for (size_t i = 0; i < n; ++i, s += 3, d += 3) {
      const Rgb p = RgbOf(s[0], s[1], s[2]);
      d[0] = p.r;
      d[1] = p.g;
      d[2] = p.b;
    }
  });
}
IppStatus ippiRGBToYCbCr_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                IppiSize roiSize) {
  return EachRow(pSrc, srcStep, pDst, dstStep, roiSize, [](const uint8_t* s, uint8_t* d, size_t n) {
    for (size_t i = 0; i < n; ++i, s += 3, d += 3) {
      const int r = s[0], g = s[1], b = s[2];
      d[0] = LumaOf(r, g, b);
      d[1] = CbOf(r, g, b, 15);
      d[2] = CrOf(r, g, b, 15);
    }
  });
}

}  // extern "C"

#endif  // ORVEX_WITH_IPP
