// SPDX-License-Identifier: Apache-2.0
// Directional demosaicing. Green comes first, along the direction in which it changes less,
// corrected by the second difference of the measured colour; then red and blue as their mean
// difference to green in the neighbourhood.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "primitives/CfaToRgb.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "primitives/Mosaic-inl.h"
#include "primitives/RowThreads.h"
#include "primitives/Scratch.h"

HWY_BEFORE_NAMESPACE();
namespace Orvex::Primitives::HWY_NAMESPACE {

template <class T>
class CfaWorker {
  using L = LaneOf<T>;
  using D = hn::ScalableTag<L>;

 public:
  // Converts the lines [first, last) of the region. False when memory is short.
  static bool Run(const MosaicJob<T>& job, int first, int last) {
    CfaWorker worker(job);
    if (!worker.m_ready) return false;
    for (int y = first - 3; y < first + 2; ++y) worker.Load(y);
    worker.Green(first - 1);
    worker.Load(first + 2);
    worker.Green(first);
    for (int y = first; y < last; ++y) {
      worker.Load(y + 3);
      worker.Green(y + 1);
      worker.Output(y);
    }
    return true;
  }

 private:
  explicit CfaWorker(const MosaicJob<T>& job) : m_job(job) {
    const int width = job.region.width;
    uint8_t* at =
        ThreadScratch(decltype(m_raw)::Bytes(width) + 2 * decltype(m_green)::Bytes(width));
    m_ready = at != nullptr;
    if (!m_ready) return;
    at = m_raw.Place(at, width);
    at = m_green.Place(at, width);
    m_difference.Place(at, width);
  }

  void Load(int y) { LoadMosaicLine(m_job, y, 4, m_raw[y]); }

  // Green of line y everywhere, and the measured colour minus green (zero where green is measured),
  // two samples wider than the region.
  void Green(int y) {
    if (ColourInEvenLanes(m_job, y))
      GreenOf<true>(y);
    else
      GreenOf<false>(y);
  }

  template <bool ColourIsEven>
  HWY_INLINE void GreenOf(int y) {
    const D d;
    const int n = int(hn::Lanes(d));
    const L* HWY_RESTRICT row = m_raw[y];
    const L *up1 = m_raw[y - 1], *up2 = m_raw[y - 2], *down1 = m_raw[y + 1], *down2 = m_raw[y + 2];
    L* HWY_RESTRICT green = m_green[y];
    L* HWY_RESTRICT difference = m_difference[y];
    const auto two = hn::Set(d, 2), top = hn::Set(d, hwy::HighestValue<T>()), zero = hn::Zero(d);
    for (int x = -2; x < m_job.region.width + 2; x += n) {
      const auto c = hn::LoadU(d, row + x);
      const auto c2 = hn::Add(c, c);
      const auto l = hn::LoadU(d, row + x - 1), r = hn::LoadU(d, row + x + 1);
      const auto u = hn::LoadU(d, up1 + x), b = hn::LoadU(d, down1 + x);
      const auto bendH = hn::Sub(c2, hn::Add(hn::LoadU(d, row + x - 2), hn::LoadU(d, row + x + 2)));
      const auto bendV = hn::Sub(c2, hn::Add(hn::LoadU(d, up2 + x), hn::LoadU(d, down2 + x)));
      const auto changeH = hn::Add(hn::Abs(hn::Sub(l, r)), hn::Abs(bendH));
      const auto changeV = hn::Add(hn::Abs(hn::Sub(u, b)), hn::Abs(bendV));
      // Four times the green value along each direction and their mean.
      const auto alongH = hn::Add(hn::ShiftLeft<1>(hn::Add(l, r)), bendH);
      const auto alongV = hn::Add(hn::ShiftLeft<1>(hn::Add(u, b)), bendV);
      const auto both = hn::ShiftRight<1>(hn::Add(alongH, alongV));
      const auto chosen = hn::IfThenElse(hn::Lt(changeH, changeV), alongH,
                                         hn::IfThenElse(hn::Lt(changeV, changeH), alongV, both));
      const auto value = hn::Min(hn::Max(hn::ShiftRight<2>(hn::Add(chosen, two)), zero), top);
      const auto full = ColourIsEven ? hn::OddEven(c, value) : hn::OddEven(value, c);
      hn::StoreU(full, d, green + x);
      hn::StoreU(hn::Sub(c, full), d, difference + x);
    }
  }

  // The difference lines are zero where green is measured, so one weighted sum serves all four
  // kinds of pixel.
  HWY_INLINE void Output(int y) {
    const D d;
    const int n = int(hn::Lanes(d)), width = m_job.region.width;
    const L* HWY_RESTRICT green = m_green[y];
    const L *own = m_difference[y], *up = m_difference[y - 1], *down = m_difference[y + 1];
    const auto one = hn::Set(d, 1), two = hn::Set(d, 2);
    const bool redLine = IsRedLine(m_job, y);
    T* out = m_job.Out(y);
    for (int x = 0; x < width; x += n) {
      const auto at = [&](const L* line, int i) { return hn::LoadU(d, line + x + i); };
      const auto g = at(green, 0);
      const auto own2 = hn::Add(hn::Add(at(own, -1), at(own, 1)), hn::ShiftLeft<1>(at(own, 0)));
      const auto other4 =
          hn::Add(hn::Add(hn::Add(at(up, -1), at(up, 1)), hn::Add(at(down, -1), at(down, 1))),
                  hn::ShiftLeft<1>(hn::Add(at(up, 0), at(down, 0))));
      const auto ownColour = hn::Add(g, hn::ShiftRight<1>(hn::Add(own2, one)));
      const auto otherColour = hn::Add(g, hn::ShiftRight<2>(hn::Add(other4, two)));
      StoreRgb(d, redLine ? ownColour : otherColour, g, redLine ? otherColour : ownColour,
               out + size_t(x) * 3, width - x);
    }
  }

  const MosaicJob<T>& m_job;
  LineRing<L, 8> m_raw;
  LineRing<L, 4> m_green, m_difference;
  bool m_ready = false;
};

bool Cfa8(const MosaicJob<uint8_t>& job, int first, int last) {
  return CfaWorker<uint8_t>::Run(job, first, last);
}
bool Cfa16(const MosaicJob<uint16_t>& job, int first, int last) {
  return CfaWorker<uint16_t>::Run(job, first, last);
}

}  // namespace Orvex::Primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE && !defined(ORVEX_WITH_IPP)

#include <atomic>

namespace Orvex::Primitives {
HWY_EXPORT(Cfa8);
HWY_EXPORT(Cfa16);

namespace {

template <class T, class Kernel>
IppStatus CfaToRgb(const T* src, IppiRect region, IppiSize size, int srcStep, T* dst, int dstStep,
                   IppiBayerGrid grid, int interpolation, Kernel kernel) {
  MosaicJob<T> job;
  if (const IppStatus status = MakeMosaicJob(src, region, size, srcStep, dst, dstStep, grid, &job))
    return status;
  if (interpolation != 0) return ippStsBadArgErr;
  std::atomic<bool> done{true};
  SplitRows(
      size_t(region.height), size_t(region.height) * size_t(region.width) * 4 * sizeof(T),
      [&](size_t first, size_t last) {
        if (!kernel(job, int(first), int(last))) done = false;
      },
      16);
  return done ? ippStsNoErr : ippStsMemAllocErr;
}

}  // namespace
}  // namespace Orvex::Primitives

using namespace Orvex::Primitives;  // NOLINT: the functions below have IPP's global names

extern "C" IppStatus ippiCFAToRGB_8u_C1C3R(const Ipp8u* pSrc, IppiRect srcRoi, IppiSize srcSize,
                                           int srcStep, Ipp8u* pDst, int dstStep,
                                           IppiBayerGrid grid, int interpolation) {
  return CfaToRgb(pSrc, srcRoi, srcSize, srcStep, pDst, dstStep, grid, interpolation,
                  HWY_DYNAMIC_DISPATCH(Cfa8));
}

extern "C" IppStatus ippiCFAToRGB_16u_C1C3R(const Ipp16u* pSrc, IppiRect srcRoi, IppiSize srcSize,
                                            int srcStep, Ipp16u* pDst, int dstStep,
                                            IppiBayerGrid grid, int interpolation) {
  return CfaToRgb(pSrc, srcRoi, srcSize, srcStep, pDst, dstStep, grid, interpolation,
                  HWY_DYNAMIC_DISPATCH(Cfa16));
}

#endif
