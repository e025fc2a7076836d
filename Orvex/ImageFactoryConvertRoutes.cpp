// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ImageFactoryConvertRoutes.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "Orvex/ImageFactoryConvert.h"
#include "Orvex/ImageFactoryConvertPools.h"
#include "primitives/RowThreads.h"
#include "primitives/WriteAround.h"

namespace Orvex {
namespace {

constexpr int sk_keepOrder[] = {0, 1, 2, 3};
constexpr int sk_swapRedAndBlue[] = {2, 1, 0, 3};
constexpr int sk_swapFirstTwo[] = {1, 0, 2};

Ipp16u* As16(uint8_t* pBytes) {
  return reinterpret_cast<Ipp16u*>(pBytes);
}
const Ipp16u* As16(const uint8_t* pBytes) {
  return reinterpret_cast<const Ipp16u*>(pBytes);
}

// Runs the kernel between two packings over n samples.
void Repack(Packing from, Packing to, const uint8_t* pSrc, uint8_t* pDst, size_t n) {
  Primitives::FindDepthKernel(from, to)(pSrc, pDst, uint32_t(n), 1);
}

// The samples of a format in 8 bits.
void NarrowTo8(const ConvertFormat& format, const ConvertJob& job, const uint8_t* pSrc,
               uint8_t* pDst) {
  if (format.packing == Packing::U16 && (format.family == Family::Mono || IsBayer(format.family))) {
    const int w = job.size.width;
    job.Check(ippiScale_16u8u_C1R(As16(pSrc), 2 * w, pDst, w, job.size, ippAlgHintAccurate));
  } else {
    Repack(format.packing, Packing::U8, pSrc, pDst, SamplesOf(format.family, job.Pixels()));
  }
}

// The same in scratch space. Two packings stop before the last samples; those become 0, so that
// no earlier image shows through.
void ReduceTo8(const ConvertFormat& format, const ConvertJob& job, const uint8_t* pSrc,
               uint8_t* pDst) {
  const size_t samples = SamplesOf(format.family, job.Pixels());
  const size_t open = samples < 3 ? samples : 3;
  std::memset(pDst + samples - open, 0, open);
  NarrowTo8(format, job, pSrc, pDst);
}

// Demosaics to RGB.
template <class T>
void Demosaic(const ConvertJob& job, IppiBayerGrid grid, const uint8_t* pSrc,
              _EBayerAlgorithm algorithm, uint8_t* pRgb) {
  const int width = job.size.width, step = width * int(sizeof(T));
  const IppiRect region{0, 0, width, job.size.height};
  const T* pMosaic = reinterpret_cast<const T*>(pSrc);
  T* pOut = reinterpret_cast<T*>(pRgb);
  switch (algorithm) {
    case DirectionalInterpolation:
      if constexpr (sizeof(T) == 1) {
        job.Check(ippiCFAToRGB_8u_C1C3R(pMosaic, region, job.size, step, pOut, 3 * step, grid, 0));
      } else {
        job.Check(ippiCFAToRGB_16u_C1C3R(pMosaic, region, job.size, step, pOut, 3 * step, grid, 0));
      }
      return;
    case AdaptiveHomogeneityDirected: {
      // A line without end in an image without lines must not ask for the room of thirty.
      if (job.Pixels() == 0) ThrowConversionError(job.kernel);
      const int tmpStep = (width + 6) * int(sizeof(T));
      const auto tmp = AllocateBytes(size_t(tmpStep) * 30);
      T* pTmp = reinterpret_cast<T*>(tmp.get());
      if constexpr (sizeof(T) == 1) {
        job.Check(ippiDemosaicAHD_8u_C1C3R(pMosaic, region, job.size, step, pOut, 3 * step, grid,
                                           pTmp, tmpStep));
      } else {
        job.Check(ippiDemosaicAHD_16u_C1C3R(pMosaic, region, job.size, step, pOut, 3 * step, grid,
                                            pTmp, tmpStep));
      }
      return;
    }
    default:
      ThrowConversionError(job.kernel, "Conversion error, unknown algorithm");
  }
}

// Demosaics into pool A, whose pixels it returns.
template <class T>
uint8_t* DemosaicToPool(ScratchPools& pools, const ConvertJob& job, IppiBayerGrid grid,
                        const uint8_t* pSrc, _EBayerAlgorithm algorithm) {
  uint8_t* pRgb = pools.A(job.Pixels() * 3 * sizeof(T));
  Demosaic<T>(job, grid, pSrc, algorithm, pRgb);
  return pRgb;
}

// Demosaics directionally a band of lines at a time and hands each band, as RGB in pool A, to
// finish(pRgb, first line, lines) while it is in the processor's caches.
template <class Finish>
void DemosaicInBands(ScratchPools& pools, const ConvertJob& job, IppiBayerGrid grid,
                     const uint8_t* pSrc, Finish finish) {
  constexpr size_t sk_bandLines = 64;
  const size_t w = size_t(job.size.width), h = size_t(job.size.height);
  uint8_t* pRgb = pools.A(w * h * 3);
  std::atomic<IppStatus> result{ippStsNoErr};
  Primitives::SplitRows(
      h, w * h * 8,
      [&](size_t first, size_t last) {
        // The lines of each range have their own place in the pool.
        uint8_t* pBand = pRgb + first * w * 3;
        for (size_t y = first; y < last; y += sk_bandLines) {
          const size_t lines = std::min(sk_bandLines, last - y);
          const IppiRect region{0, int(y), int(w), int(lines)};
          IppStatus status =
              ippiCFAToRGB_8u_C1C3R(pSrc, region, job.size, int(w), pBand, int(3 * w), grid, 0);
          const Primitives::PartOfPicture part(w * h * 3);
          if (status == ippStsNoErr) status = finish(pBand, y, IppiSize{int(w), int(lines)});
          if (status != ippStsNoErr) result = status;
        }
      },
      sk_bandLines);
  job.Check(result);
}

// 8-bit samples of a family to BGRa8. Pools A and C are free for it; pBytes may lie in pool B.
void From8(Family family, ScratchPools& pools, const ConvertJob& job, const uint8_t* pBytes,
           uint8_t* pBgra, _EBayerAlgorithm algorithm) {
  const int w = job.size.width;
  switch (family) {
    case Family::Mono:
      job.Check(ippiGrayToRGB_8u_C1C4R(pBytes, w, pBgra, 4 * w, job.size, 0));
      return;
    case Family::BayerRG:
    case Family::BayerGR:
    case Family::BayerGB:
    case Family::BayerBG: {
      const auto swap = [=](const uint8_t* pRgb, size_t y, IppiSize size) {
        return ippiSwapChannels_8u_C3C4R(pRgb, 3 * w, pBgra + y * size_t(w) * 4, 4 * w, size,
                                         sk_swapRedAndBlue, 0);
      };
      if (algorithm == DirectionalInterpolation) {
        DemosaicInBands(pools, job, GridOf(family), pBytes, swap);
      } else {
        job.Check(swap(DemosaicToPool<Ipp8u>(pools, job, GridOf(family), pBytes, algorithm), 0,
                       job.size));
      }
      return;
    }
    case Family::RGB:
    case Family::BGR: {
      const int* order = family == Family::RGB ? sk_swapRedAndBlue : sk_keepOrder;
      job.Check(ippiSwapChannels_8u_C3C4R(pBytes, 3 * w, pBgra, 4 * w, job.size, order, 0));
      return;
    }
    case Family::RGBa:
      job.Check(ippiSwapChannels_8u_C4R(pBytes, 4 * w, pBgra, 4 * w, job.size, sk_swapRedAndBlue));
      return;
    case Family::BGRa:
      std::memcpy(pBgra, pBytes, job.Pixels() * 4);
      return;
    case Family::UYV411:
    case Family::YUV411: {
      uint8_t* pGroups = pools.C(Primitives::BytesOf(Packing::UYVY, job.Pixels()));
      if (family == Family::UYV411) {
        Repack(Packing::UYYVYY, Packing::UYVY, pBytes, pGroups, job.Pixels());
      } else {
        Repack(Packing::YYUYYV, Packing::YUYV, pBytes, pGroups, job.Pixels());
      }
      From8(family == Family::UYV411 ? Family::UYV422 : Family::YUV422, pools, job, pGroups, pBgra,
            algorithm);
      return;
    }
    case Family::UYV422:
      job.Check(ippiCbYCr422ToBGR_8u_C2C4R(pBytes, 2 * w, pBgra, 4 * w, job.size, 0));
      return;
    case Family::YUV422:
      job.Check(ippiYCbCr422ToBGR_8u_C2C4R(pBytes, 2 * w, pBgra, 4 * w, job.size, 0));
      return;
    case Family::UYV444: {
      uint8_t* pYuv = pools.C(job.Pixels() * 3);
      job.Check(ippiSwapChannels_8u_C3R(pBytes, 3 * w, pYuv, 3 * w, job.size, sk_swapFirstTwo));
      From8(Family::YUV444, pools, job, pYuv, pBgra, algorithm);
      return;
    }
    case Family::YUV444: {
      uint8_t* pRgb = pools.A(job.Pixels() * 3);
      job.Check(ippiYCbCrToRGB_8u_C3R(pBytes, 3 * w, pRgb, 3 * w, job.size));
      From8(Family::RGB, pools, job, pRgb, pBgra, algorithm);
      return;
    }
  }
}

// BGRa8 to 8-bit samples of a family. Pools A and C are free for it; pBytes may lie in pool B.
void To8(Family family, ScratchPools& pools, const ConvertJob& job, const uint8_t* pBgra,
         uint8_t* pBytes) {
  const int w = job.size.width;
  switch (family) {
    // Kept on purpose: the grey weights fall on blue, green, red in this order.
    case Family::Mono:
      job.Check(ippiRGBToGray_8u_AC4C1R(pBgra, 4 * w, pBytes, w, job.size));
      return;
    case Family::RGB:
    case Family::BGR: {
      const int* order = family == Family::RGB ? sk_swapRedAndBlue : sk_keepOrder;
      job.Check(ippiSwapChannels_8u_C4C3R(pBgra, 4 * w, pBytes, 3 * w, job.size, order));
      return;
    }
    case Family::RGBa:
      job.Check(ippiSwapChannels_8u_C4R(pBgra, 4 * w, pBytes, 4 * w, job.size, sk_swapRedAndBlue));
      return;
    case Family::BGRa:
      std::memcpy(pBytes, pBgra, job.Pixels() * 4);
      return;
    case Family::UYV411:
    case Family::YUV411: {
      uint8_t* pGroups = pools.C(Primitives::BytesOf(Packing::UYVY, job.Pixels()));
      To8(family == Family::UYV411 ? Family::UYV422 : Family::YUV422, pools, job, pBgra, pGroups);
      if (family == Family::UYV411) {
        Repack(Packing::UYVY, Packing::UYYVYY, pGroups, pBytes, job.Pixels());
      } else {
        Repack(Packing::YUYV, Packing::YYUYYV, pGroups, pBytes, job.Pixels());
      }
      return;
    }
    case Family::UYV422:
      job.Check(ippiBGRToCbYCr422_8u_AC4C2R(pBgra, 4 * w, pBytes, 2 * w, job.size));
      return;
    case Family::YUV422:
      job.Check(ippiBGRToYCbCr422_8u_AC4C2R(pBgra, 4 * w, pBytes, 2 * w, job.size));
      return;
    case Family::UYV444: {
      uint8_t* pYuv = pools.C(job.Pixels() * 3);
      To8(Family::YUV444, pools, job, pBgra, pYuv);
      job.Check(ippiSwapChannels_8u_C3R(pYuv, 3 * w, pBytes, 3 * w, job.size, sk_swapFirstTwo));
      return;
    }
    case Family::YUV444: {
      uint8_t* pRgb = pools.A(job.Pixels() * 3);
      To8(Family::RGB, pools, job, pBgra, pRgb);
      job.Check(ippiRGBToYCbCr_8u_C3R(pRgb, 3 * w, pBytes, 3 * w, job.size));
      return;
    }
    case Family::BayerRG:
    case Family::BayerGR:
    case Family::BayerGB:
    case Family::BayerBG:
      ThrowConversionError(job.kernel);
  }
}

// 16-bit colours to BGRa8: scaled as four channels, the fourth being 0 where the source has none.
void FromColour16(Family family, ScratchPools& pools, const ConvertJob& job, const uint8_t* pSrc,
                  uint8_t* pBgra) {
  const int w = job.size.width;
  if (family == Family::RGB || family == Family::BGR) {
    uint8_t* pWide = pools.B(job.Pixels() * 8);
    const int* order = family == Family::RGB ? sk_swapRedAndBlue : sk_keepOrder;
    job.Check(
        ippiSwapChannels_16u_C3C4R(As16(pSrc), 6 * w, As16(pWide), 8 * w, job.size, order, 0));
    std::memset(pBgra, 0, job.Pixels() * 4);
    job.Check(ippiScale_16u8u_AC4R(As16(pWide), 8 * w, pBgra, 4 * w, job.size, ippAlgHintAccurate));
    return;
  }
  const IppiSize samples{4 * w, job.size.height};
  uint8_t* pNarrow = family == Family::RGBa ? pools.B(job.Pixels() * 4) : pBgra;
  job.Check(ippiScale_16u8u_C1R(As16(pSrc), 8 * w, pNarrow, 4 * w, samples, ippAlgHintAccurate));
  if (family == Family::RGBa) From8(family, pools, job, pNarrow, pBgra, DirectionalInterpolation);
}

void ToColour16(Family family, ScratchPools& pools, const ConvertJob& job, const uint8_t* pBgra,
                uint8_t* pDst) {
  const int w = job.size.width;
  if (family == Family::RGB || family == Family::BGR) {
    uint8_t* pWide = pools.B(job.Pixels() * 8);
    job.Check(ippiScale_8u16u_AC4R(pBgra, 4 * w, As16(pWide), 8 * w, job.size));
    const int* order = family == Family::RGB ? sk_swapRedAndBlue : sk_keepOrder;
    job.Check(ippiSwapChannels_16u_C4C3R(As16(pWide), 8 * w, As16(pDst), 6 * w, job.size, order));
    return;
  }
  const IppiSize samples{4 * w, job.size.height};
  if (family == Family::RGBa) {
    uint8_t* pSwapped = pools.B(job.Pixels() * 4);
    To8(family, pools, job, pBgra, pSwapped);
    pBgra = pSwapped;
  }
  job.Check(ippiScale_8u16u_C1R(pBgra, 4 * w, As16(pDst), 8 * w, samples));
}

bool IsColour(Family family) {
  return family >= Family::RGB && family <= Family::BGRa;
}

// 16-bit grey of 16-bit colours, as the channels lie.
void Grey16(const ConvertJob& job, const uint8_t* pRgb, uint8_t* pGrey) {
  const int w = job.size.width;
  job.Check(ippiRGBToGray_16u_C3C1R(As16(pRgb), 6 * w, As16(pGrey), 2 * w, job.size));
}

}  // namespace

void FromFormat(const ConvertFormat& format, const ConvertJob& job, const uint8_t* pSrc,
                uint8_t* pBgra, _EBayerAlgorithm algorithm) {
  ScratchPools pools;
  if (format.packing == Packing::U16 && IsColour(format.family)) {
    FromColour16(format.family, pools, job, pSrc, pBgra);
    return;
  }
  if (format.packing != Packing::U8) {
    uint8_t* pBytes = pools.B(SamplesOf(format.family, job.Pixels()));
    ReduceTo8(format, job, pSrc, pBytes);
    pSrc = pBytes;
  }
  From8(format.family, pools, job, pSrc, pBgra, algorithm);
}

void ToFormat(const ConvertFormat& format, const ConvertJob& job, const uint8_t* pBgra,
              uint8_t* pDst) {
  ScratchPools pools;
  if (format.packing == Packing::U16 && IsColour(format.family)) {
    ToColour16(format.family, pools, job, pBgra, pDst);
    return;
  }
  if (format.packing == Packing::U8) {
    To8(format.family, pools, job, pBgra, pDst);
    return;
  }
  const size_t samples = SamplesOf(format.family, job.Pixels());
  uint8_t* pBytes = pools.B(samples);
  To8(format.family, pools, job, pBgra, pBytes);
  Repack(Packing::U8, format.packing, pBytes, pDst, samples);
}

bool RunDirect(const ConvertFormat& from, const ConvertFormat& to, const ConvertJob& job,
               const uint8_t* pSrc, uint8_t* pDst, _EBayerAlgorithm algorithm) {
  const int w = job.size.width;
  if (from.family == Family::Mono && to.family == Family::Mono) {
    // Grey of equal channels is their value.
    ScratchPools pools;
    if (to.packing == Packing::U8) {
      if (from.packing != Packing::U8)
        NarrowTo8(from, job, pSrc, pDst);
      else
        std::memcpy(pDst, pSrc, job.Pixels());
      return true;
    }
    if (from.packing != Packing::U8) {
      uint8_t* pBytes = pools.B(job.Pixels());
      ReduceTo8(from, job, pSrc, pBytes);
      pSrc = pBytes;
    }
    Repack(Packing::U8, to.packing, pSrc, pDst, job.Pixels());
    return true;
  }
  if (IsBayer(from.family) && to.packing == Packing::U8 &&
      (to.family == Family::RGB || to.family == Family::BGR)) {
    ScratchPools pools;
    if (from.packing != Packing::U8) {
      uint8_t* pBytes = pools.B(job.Pixels());
      ReduceTo8(from, job, pSrc, pBytes);
      pSrc = pBytes;
    }
    if (to.family == Family::RGB) {
      Demosaic<Ipp8u>(job, GridOf(from.family), pSrc, algorithm, pDst);
    } else {
      const auto swap = [=](const uint8_t* pRgb, size_t y, IppiSize size) {
        return ippiSwapChannels_8u_C3R(pRgb, 3 * w, pDst + y * size_t(w) * 3, 3 * w, size,
                                       sk_swapRedAndBlue);
      };
      if (algorithm == DirectionalInterpolation) {
        DemosaicInBands(pools, job, GridOf(from.family), pSrc, swap);
      } else {
        job.Check(swap(DemosaicToPool<Ipp8u>(pools, job, GridOf(from.family), pSrc, algorithm), 0,
                       job.size));
      }
    }
    return true;
  }
  if (from.packing == Packing::U8 && to.packing == Packing::U8 &&
      ((from.family == Family::RGB && to.family == Family::BGR) ||
       (from.family == Family::BGR && to.family == Family::RGB))) {
    job.Check(ippiSwapChannels_8u_C3R(pSrc, 3 * w, pDst, 3 * w, job.size, sk_swapRedAndBlue));
    return true;
  }
  return false;
}

void RunGeneralShortcut(const ConvertFormat& from, const ConvertFormat& to, const ConvertJob& job,
                        const uint8_t* pSrc, uint8_t* pDst) {
  const int w = job.size.width;
  const size_t n = job.Pixels();
  const size_t wideBytes =
      ImageFactoryConvert::calcSize(size_t(w), size_t(job.size.height), Mono16);
  ScratchPools pools;
  if (from.family == Family::Mono && to.family == Family::Mono) {
    if (from.packing == Packing::U16 || to.packing == Packing::U16) {
      Repack(from.packing, to.packing, pSrc, pDst, n);
      return;
    }
    uint8_t* pWide = pools.A(wideBytes);
    std::memset(pWide, 0, wideBytes);
    Repack(from.packing, Packing::U16, pSrc, pWide, n);
    Repack(Packing::U16, to.packing, pWide, pDst, n);
    return;
  }
  if (from.family == Family::Mono) {
    if (from.packing != Packing::U16) {
      uint8_t* pWide = pools.A(wideBytes);
      Repack(from.packing, Packing::U16, pSrc, pWide, n);
      pSrc = pWide;
    }
    job.Check(ippiGrayToRGB_16u_C1C3R(As16(pSrc), 2 * w, As16(pDst), 6 * w, job.size));
    return;
  }
  uint8_t* pGrey = to.packing == Packing::U16 ? pDst : pools.A(wideBytes);
  Grey16(job, pSrc, pGrey);
  if (to.packing != Packing::U16) Repack(Packing::U16, to.packing, pGrey, pDst, n);
}

void RunBayerShortcut(const ConvertFormat& from, const ConvertFormat& to, const ConvertJob& job,
                      const uint8_t* pSrc, uint8_t* pDst, _EBayerAlgorithm algorithm) {
  const int w = job.size.width;
  const size_t n = job.Pixels();
  const IppiBayerGrid grid = GridOf(from.family);
  ScratchPools pools;
  if (from.packing == Packing::U8) {
    const uint8_t* pRgb = DemosaicToPool<Ipp8u>(pools, job, grid, pSrc, algorithm);
    uint8_t* pGrey = to.packing == Packing::U8 ? pDst : pools.B(n);
    job.Check(ippiRGBToGray_8u_C3C1R(pRgb, 3 * w, pGrey, w, job.size));
    if (to.packing != Packing::U8) Repack(Packing::U8, to.packing, pGrey, pDst, n);
    return;
  }
  if (from.packing != Packing::U16) {
    uint8_t* pWide = pools.B(2 * n);
    Repack(from.packing, Packing::U16, pSrc, pWide, n);
    pSrc = pWide;
  }
  const uint8_t* pRgb = DemosaicToPool<Ipp16u>(pools, job, grid, pSrc, algorithm);
  if (to.family != Family::Mono) {
    const int* order = to.family == Family::RGB ? sk_keepOrder : sk_swapRedAndBlue;
    job.Check(ippiSwapChannels_16u_C3R(As16(pRgb), 6 * w, As16(pDst), 6 * w, job.size, order));
    return;
  }
  uint8_t* pGrey = to.packing == Packing::U16 ? pDst : pools.C(2 * n);
  Grey16(job, pRgb, pGrey);
  if (to.packing != Packing::U16) Repack(Packing::U16, to.packing, pGrey, pDst, n);
}

}  // namespace Orvex
