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

// Two pixels that lie side by side share a lane, the even one in its lower half: of each such pair
// of a mosaic line one is green and one is red or blue, so that nothing is computed where it is
// known.
template <class T>
class CfaWorker {
  using S = LaneOf<T>;                // one value
  using P = std::make_unsigned_t<S>;  // a pair of samples
  using D = hn::ScalableTag<S>;
  using DP = hn::ScalableTag<P>;
  using DT = hn::ScalableTag<T>;
  using V = hn::VFromD<D>;
  using VP = hn::VFromD<DP>;
  static constexpr int sk_bits = 8 * sizeof(T);

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
    uint8_t* at = ThreadScratch(decltype(m_raw)::Bytes(width) + decltype(m_green)::Bytes(width) +
                                decltype(m_difference)::Bytes(width));
    m_ready = at != nullptr;
    if (!m_ready) return;
    at = m_difference.Place(at, width);
    at = m_raw.Place(at, width);
    m_green.Place(at, width);
  }

  void Load(int y) { CopyMosaicLine(m_job, y, 6, m_raw[y]); }

  static HWY_INLINE VP Pairs(const T* line, int pair) {
    return hn::BitCast(DP(), hn::LoadU(DT(), line + 2 * pair));
  }
  static HWY_INLINE V Even(VP pairs) {
    return hn::BitCast(D(), hn::And(pairs, hn::Set(DP(), P(T(~T(0))))));
  }
  static HWY_INLINE V Odd(VP pairs) { return hn::BitCast(D(), hn::ShiftRight<sk_bits>(pairs)); }
  static HWY_INLINE VP Join(V even, V odd) {
    return hn::Or(hn::BitCast(DP(), even), hn::ShiftLeft<sk_bits>(hn::BitCast(DP(), odd)));
  }
  static HWY_INLINE V Clamped(V v) {
    return hn::Min(hn::Max(v, hn::Zero(D())), hn::Set(D(), hwy::HighestValue<T>()));
  }

  // Green of line y, and the measured colour minus green, one pair wider than the region.
  void Green(int y) {
    if (ColourInEvenLanes(m_job, y))
      GreenOf<true>(y);
    else
      GreenOf<false>(y);
  }

  template <bool ColourIsEven>
  HWY_INLINE void GreenOf(int y) {
    const D d;
    const int n = int(hn::Lanes(d)), last = (m_job.region.width + 1) / 2;
    const T *row = m_raw[y], *up1 = m_raw[y - 1], *up2 = m_raw[y - 2], *down1 = m_raw[y + 1],
            *down2 = m_raw[y + 2];
    T* HWY_RESTRICT green = m_green[y];
    S* HWY_RESTRICT difference = m_difference[y];
    // The half of a pair that holds the colour in this line, and green in those above and below.
    const auto here = [](VP pairs) HWY_ATTR { return ColourIsEven ? Even(pairs) : Odd(pairs); };
    for (int i = -1; i <= last; i += n) {
      const VP before = Pairs(row, i - 1), mid = Pairs(row, i), after = Pairs(row, i + 1);
      const V c = here(mid), c2 = hn::Add(c, c);
      const V l = ColourIsEven ? Odd(before) : Even(mid), r = ColourIsEven ? Odd(mid) : Even(after);
      const V u = here(Pairs(up1, i)), b = here(Pairs(down1, i));
      const V bendH = hn::Sub(c2, hn::Add(here(before), here(after)));
      const V bendV = hn::Sub(c2, hn::Add(here(Pairs(up2, i)), here(Pairs(down2, i))));
      const V changeH = hn::Add(hn::Abs(hn::Sub(l, r)), hn::Abs(bendH));
      const V changeV = hn::Add(hn::Abs(hn::Sub(u, b)), hn::Abs(bendV));
      // Four times the green value along each direction and their mean.
      const V alongH = hn::Add(hn::ShiftLeft<1>(hn::Add(l, r)), bendH);
      const V alongV = hn::Add(hn::ShiftLeft<1>(hn::Add(u, b)), bendV);
      const V both = hn::ShiftRight<1>(hn::Add(alongH, alongV));
      const V chosen = hn::IfThenElse(hn::Lt(changeH, changeV), alongH,
                                      hn::IfThenElse(hn::Lt(changeV, changeH), alongV, both));
      const V value = Clamped(hn::ShiftRight<2>(hn::Add(chosen, hn::Set(d, 2))));
      const VP full = ColourIsEven ? Join(value, Odd(mid)) : Join(Even(mid), value);
      hn::StoreU(hn::BitCast(DT(), full), DT(), green + 2 * i);
      hn::StoreU(hn::Sub(c, value), d, difference + i);
    }
  }

  void Output(int y) {
    if (ColourInEvenLanes(m_job, y))
      OutputOf<true>(y);
    else
      OutputOf<false>(y);
  }

  // Where a colour is not measured it is green plus the mean difference around: of two neighbours
  // in the line or the column, or of four diagonal ones.
  template <bool ColourIsEven>
  HWY_INLINE void OutputOf(int y) {
    const D d;
    const int n = int(hn::Lanes(d)), width = m_job.region.width;
    const T *row = m_raw[y], *green = m_green[y];
    const S *own = m_difference[y], *up = m_difference[y - 1], *down = m_difference[y + 1];
    // Pairs whose colours lie to the left and to the right of this pair's green, and of its colour
    // in the other lines.
    constexpr int sk_left = ColourIsEven ? 0 : -1, sk_right = sk_left + 1;
    constexpr int sk_otherLeft = ColourIsEven ? -1 : 0, sk_otherRight = sk_otherLeft + 1;
    const bool redLine = IsRedLine(m_job, y);
    T* out = m_job.Out(y);
    for (int i = 0; 2 * i < width; i += n) {
      const auto at = [i](const S* line, int pair)
                          HWY_ATTR { return hn::LoadU(D(), line + i + pair); };
      const VP raw = Pairs(row, i), full = Pairs(green, i);
      const V measured = ColourIsEven ? Even(raw) : Odd(raw);
      const V greenAtGreen = ColourIsEven ? Odd(full) : Even(full),
              greenAtColour = ColourIsEven ? Even(full) : Odd(full);
      const V one = hn::Set(d, 1), two = hn::Set(d, 2);
      const V ownSum = hn::Add(at(own, sk_left), at(own, sk_right));
      const V ownAtGreen = Clamped(hn::Add(greenAtGreen, hn::ShiftRight<1>(hn::Add(ownSum, one))));
      const V left = hn::Add(at(up, sk_otherLeft), at(down, sk_otherLeft));
      const V right = hn::Add(at(up, sk_otherRight), at(down, sk_otherRight));
      const V column = ColourIsEven ? right : left;
      const V otherAtGreen =
          Clamped(hn::Add(greenAtGreen, hn::ShiftRight<1>(hn::Add(column, one))));
      const V otherAtColour =
          Clamped(hn::Add(greenAtColour, hn::ShiftRight<2>(hn::Add(hn::Add(left, right), two))));
      const VP ownPairs = ColourIsEven ? Join(measured, ownAtGreen) : Join(ownAtGreen, measured);
      const VP otherPairs =
          ColourIsEven ? Join(otherAtColour, otherAtGreen) : Join(otherAtGreen, otherAtColour);
      const DT dt;
      const auto r = hn::BitCast(dt, redLine ? ownPairs : otherPairs),
                 b = hn::BitCast(dt, redLine ? otherPairs : ownPairs);
      StorePixels(dt, r, hn::BitCast(dt, full), b, out + size_t(i) * 6, width - 2 * i);
    }
  }

  const MosaicJob<T>& m_job;
  LineRing<T, 8> m_raw;
  LineRing<T, 4> m_green;
  LineRing<S, 4> m_difference;  // by pairs
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
