// SPDX-License-Identifier: Apache-2.0
// Directional demosaicing. Green comes first, along the direction in which it changes less,
// corrected by the second difference of the measured colour; then red and blue by their difference
// to green on both sides.
//
// Where colour and green change unlike, the correction is wrong, and shows as a green beyond that
// of both neighbours; it is taken back as far as the two changes differ. Of the differences on both
// sides the one counts more whose green is nearer, in proportion: at an edge it is that of the same
// side, whatever the colour of the other.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "primitives/CfaToRgb.cpp"
// Its byte permutations take three channels apart and together.
#define HWY_WANT_AVX3_DL 1
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "primitives/Mosaic-inl.h"
#include "primitives/RowThreads.h"
#include "primitives/Scratch.h"
#include "primitives/WriteAround-inl.h"

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
    worker.m_copy.Finish();
    if (job.around) hwy::FlushStream();
    return true;
  }

 private:
  explicit CfaWorker(const MosaicJob<T>& job) : m_job(job) {
    const int width = job.region.width;
    uint8_t* at = ThreadScratch(decltype(m_raw)::Bytes(width) + decltype(m_green)::Bytes(width) +
                                decltype(m_difference)::Bytes(width) +
                                decltype(m_other)::Bytes(width) + 2 * (LineBytes() + 64));
    m_ready = at != nullptr;
    if (!m_ready) return;
    at = m_difference.Place(at, width);
    at = m_other.Place(at, width);
    at = m_raw.Place(at, width);
    at = m_green.Place(at, width);
    for (T*& line : m_lines) {
      line = reinterpret_cast<T*>(at);
      at += (LineBytes() + 63) / 64 * 64;
    }
  }

  void Load(int y) {
    CopyMosaicLine(m_job, y, 6, m_raw[y]);
    m_next = m_job.Row(Mirror(m_job.region.y + y + 1, m_job.srcSize.height)) + m_job.region.x;
  }

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
      const V farL = here(before), farR = here(after);
      const V farU = here(Pairs(up2, i)), farB = here(Pairs(down2, i));
      const V bendH = hn::Sub(c2, hn::Add(farL, farR)), bendV = hn::Sub(c2, hn::Add(farU, farB));
      const V slopeH = hn::Sub(r, l), slopeV = hn::Sub(b, u);
      const auto across = hn::Gt(hn::Add(hn::Abs(slopeH), hn::Abs(bendH)),
                                 hn::Add(hn::Abs(slopeV), hn::Abs(bendV)));
      const V g0 = hn::IfThenElse(across, u, l), g1 = hn::IfThenElse(across, b, r);
      const V bend = hn::IfThenElse(across, bendV, bendH);
      const V slope = hn::IfThenElse(across, slopeV, slopeH);
      const V farSlope = hn::IfThenElse(across, hn::Sub(farB, farU), hn::Sub(farR, farL));
      // Four times everything.
      const V along = hn::Add(hn::ShiftLeft<1>(hn::Add(g0, g1)), bend);
      const V doubt = hn::Abs(hn::Sub(farSlope, hn::Add(slope, slope)));
      const V low = hn::ShiftLeft<2>(hn::Min(g0, g1)), high = hn::ShiftLeft<2>(hn::Max(g0, g1));
      const V notAbove = hn::Min(along, hn::Max(high, hn::Sub(along, doubt)));
      const V chosen = hn::Max(notAbove, hn::Min(low, hn::Add(along, doubt)));
      const V value = Clamped(hn::ShiftRight<2>(hn::Add(chosen, hn::Set(d, 2))));
      const VP full = ColourIsEven ? Join(value, Odd(mid)) : Join(Even(mid), value);
      hn::StoreU(hn::BitCast(DT(), full), DT(), green + 2 * i);
      hn::StoreU(hn::Sub(c, value), d, difference + i);
    }
  }

  // 255 / (at + 1) of 0 to 15, twice.
  static HWY_INLINE V TwiceShare(V at) {
    const D d;
#if HWY_TARGET <= HWY_AVX3 && HWY_ARCH_X86
    if constexpr (sizeof(T) == 1 && hn::MaxLanes(D()) == 32) {
      alignas(64) static constexpr uint16_t sk_twice[32] = {510, 254, 170, 126, 102, 84, 72, 62,
                                                            56,  50,  46,  42,  38,  36, 34, 30};
      return V{_mm512_permutexvar_epi16(at.raw, _mm512_load_si512(sk_twice))};
    }
#endif
    alignas(16) static constexpr uint8_t sk_once[16] = {255, 127, 85, 63, 51, 42, 36, 31,
                                                        28,  25,  23, 21, 19, 18, 17, 15};
    const hn::Repartition<uint8_t, D> d8;
    const auto bytes = hn::TableLookupBytes(hn::LoadDup128(d8, sk_once), hn::BitCast(d8, at));
    const V once = hn::And(hn::BitCast(d, bytes), hn::Set(d, 0xFF));
    return hn::Add(once, once);
  }

  // Between two differences to green, in proportion to how near their greens are: changeA and
  // changeB are how far those differ from the green here. The division by their sum is a table.
  static HWY_INLINE V Between(V a, V b, V changeA, V changeB) {
    const D d;
    const V share = TwiceShare(hn::ShiftRight<sk_bits - 3>(hn::Add(changeA, changeB)));
    const V lead = hn::Mul(hn::Sub(changeB, changeA), share), difference = hn::Sub(a, b);
    if constexpr (sizeof(T) == 1) {
      const V weight = hn::Add(lead, hn::Set(d, 1 << 14));
      return hn::Add(b, hn::MulFixedPoint15(difference, weight));
    } else {
      const V weight = hn::Add(hn::ShiftRight<10>(lead), hn::Set(d, 1 << 12));
      const V part = hn::Add(hn::Mul(difference, weight), hn::Set(d, 1 << 12));
      return hn::Add(b, hn::ShiftRight<13>(part));
    }
  }
  static HWY_INLINE V Change(V a, V b) {
    return hn::Abs(hn::Sub(a, b));
  }

  void Output(int y) {
    if (ColourInEvenLanes(m_job, y)) {
      OtherOf<true>(y);
      IsRedLine(m_job, y) ? OutputOf<true, true>(y) : OutputOf<true, false>(y);
    } else {
      OtherOf<false>(y);
      IsRedLine(m_job, y) ? OutputOf<false, true>(y) : OutputOf<false, false>(y);
    }
  }

  // The difference to green of the colour that line y does not measure, at its green samples.
  template <bool ColourIsEven>
  HWY_INLINE void OtherOf(int y) {
    const D d;
    const int n = int(hn::Lanes(d)), last = (m_job.region.width + 1) / 2;
    const T *green = m_green[y], *greenUp = m_green[y - 1], *greenDown = m_green[y + 1];
    const S *up = m_difference[y - 1], *down = m_difference[y + 1];
    S* HWY_RESTRICT other = m_other[0];
    const auto column = [](const T* line, int pair) HWY_ATTR {
      return ColourIsEven ? Odd(Pairs(line, pair)) : Even(Pairs(line, pair));
    };
    for (int i = -1; i <= last; i += n) {
      const V here = column(green, i);
      const V between =
          Between(hn::LoadU(d, up + i), hn::LoadU(d, down + i), Change(here, column(greenUp, i)),
                  Change(here, column(greenDown, i)));
      hn::StoreU(between, d, other + i);
    }
  }

  // Where a colour is not measured it is green plus the difference between those on both sides: of
  // the line's own colour at its green samples, of the other one at its colour samples.
  template <bool ColourIsEven, bool LineIsRed>
  HWY_INLINE void OutputOf(int y) {
    const D d;
    const int n = int(hn::Lanes(d)), width = m_job.region.width;
    const T *row = m_raw[y], *green = m_green[y];
    const S *own = m_difference[y], *other = m_other[0];
    T* const line = m_job.Out(y);
    T* const out = m_job.around ? m_lines[y & 1] : line;
    const T* const next = m_next;
    AroundCopy copy = m_copy;
    for (int i = 0; 2 * i < width; i += n) {
      const auto at = [i](const S* line, int pair)
                          HWY_ATTR { return hn::LoadU(D(), line + i + pair); };
      const VP raw = Pairs(row, i), full = Pairs(green, i);
      const V even = Even(full), odd = Odd(full);
      // From the pixel before the pair, within it, and to the one after it.
      const V before = Change(even, Odd(Pairs(green, i - 1))), within = Change(even, odd);
      const V after = Change(odd, Even(Pairs(green, i + 1)));
      // Each pixel of a pair stands between one of the same pair and one of the next or last.
      const auto atEven = [&](const S* line) HWY_ATTR {
        return Clamped(hn::Add(even, Between(at(line, -1), at(line, 0), before, within)));
      };
      const auto atOdd = [&](const S* line) HWY_ATTR {
        return Clamped(hn::Add(odd, Between(at(line, 0), at(line, 1), within, after)));
      };
      const V otherAtGreen = Clamped(hn::Add(ColourIsEven ? odd : even, at(other, 0)));
      const VP ownPairs = ColourIsEven ? Join(Even(raw), atOdd(own)) : Join(atEven(own), Odd(raw));
      const VP otherPairs =
          ColourIsEven ? Join(atEven(other), otherAtGreen) : Join(otherAtGreen, atOdd(other));
      const DT dt;
      const auto r = hn::BitCast(dt, LineIsRed ? ownPairs : otherPairs),
                 b = hn::BitCast(dt, LineIsRed ? otherPairs : ownPairs);
      StorePixels(dt, r, hn::BitCast(dt, full), b, out + size_t(i) * 6, width - 2 * i);
      hwy::Prefetch(next + 2 * i);
      copy.template Step<(3 * sizeof(V) + AroundCopy::sk_line - 1) / AroundCopy::sk_line>();
    }
    if (m_job.around) {
      copy.Begin(reinterpret_cast<const uint8_t*>(out), reinterpret_cast<uint8_t*>(line),
                 LineBytes());
      m_copy = copy;
    }
  }

  size_t LineBytes() const {
    return size_t(m_job.region.width) * 3 * sizeof(T);
  }

  const MosaicJob<T>& m_job;
  LineRing<T, 8> m_raw;
  const T* m_next = nullptr;  // the line of the mosaic to load next
  LineRing<T, 4> m_green;
  LineRing<S, 4> m_difference;  // by pairs
  LineRing<S, 1> m_other;       // by pairs: of the colour that the line does not measure
  // Of the picture, where it is written around the caches: one while the other is copied.
  T* m_lines[2] = {};
  AroundCopy m_copy;
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
