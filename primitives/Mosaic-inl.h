// SPDX-License-Identifier: Apache-2.0
// What both demosaicing kernels do to mosaic lines, compiled per instruction set. Included after
// hwy/highway.h.

#if defined(ORVEX_MOSAIC_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_MOSAIC_INL_H
#undef ORVEX_MOSAIC_INL_H
#else
#define ORVEX_MOSAIC_INL_H
#endif

#include <cstring>
#include <type_traits>

#include "primitives/Interleave-inl.h"
#include "primitives/Mosaic.h"

HWY_BEFORE_NAMESPACE();
namespace Orvex::Primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Differences and sums of a few samples need one size more than the samples.
template <class T>
using LaneOf = std::conditional_t<sizeof(T) == 1, int16_t, int32_t>;

// Lanes on both sides of a line: two of the longest vectors. Loops start a whole vector before a
// line, because what lies across two lines of the cache costs twice; what they compute of nothing
// there is not used.
constexpr int sk_linePad = 128;

inline size_t LineLanes(int width) {
  return (size_t(width) + 63) / 64 * 64 + 2 * sk_linePad;
}

// Lines that follow each other in a ring; index by the line's number in the region, which may be
// negative.
template <class L, int Count>
struct LineRing {
  static_assert((Count & (Count - 1)) == 0);
  L* base = nullptr;
  size_t lanes = 0;
  HWY_INLINE L* operator[](int y) const {
    return base + size_t(y & (Count - 1)) * lanes + sk_linePad;
  }
  static size_t Bytes(int width) { return Count * LineLanes(width) * sizeof(L); }
  uint8_t* Place(uint8_t* at, int width) {
    base = reinterpret_cast<L*>(at);
    lanes = LineLanes(width);
    return at + Bytes(width);
  }
};

// Line y of the region (mirrored outside the mosaic) with `margin` more samples on either side.
template <class T>
HWY_INLINE void CopyMosaicLine(const MosaicJob<T>& job, int y, int margin, T* HWY_RESTRICT line) {
  const T* row = job.Row(Mirror(job.region.y + y, job.srcSize.height));
  const int first = job.region.x, width = job.region.width;
  std::memcpy(line, row + first, size_t(width) * sizeof(T));
  for (int i = 1; i <= margin; ++i) {
    line[-i] = SampleAt(row, Mirror(first - i, job.srcSize.width));
    line[width - 1 + i] = SampleAt(row, Mirror(first + width - 1 + i, job.srcSize.width));
  }
}

// The same, widened, with `margin` more samples on either
// side.
template <class T, class L>
HWY_INLINE void LoadMosaicLine(const MosaicJob<T>& job, int y, int margin, L* HWY_RESTRICT line) {
  const hn::ScalableTag<L> d;
  const hn::Rebind<T, decltype(d)> dSample;
  const int n = int(hn::Lanes(d));
  const T* row = job.Row(Mirror(job.region.y + y, job.srcSize.height));
  const int first = job.region.x, width = job.region.width;
  int x = 0;
  for (; x + n <= width; x += n)
    hn::StoreU(hn::PromoteTo(d, hn::LoadU(dSample, row + first + x)), d, line + x);
  for (; x < width; ++x) line[x] = SampleAt(row, first + x);
  for (int i = 1; i <= margin; ++i) {
    line[-i] = SampleAt(row, Mirror(first - i, job.srcSize.width));
    line[width - 1 + i] = SampleAt(row, Mirror(first + width - 1 + i, job.srcSize.width));
  }
}

// Whether the measured red or blue samples of line y stand in the even lanes of the region.
template <class T>
HWY_INLINE bool ColourInEvenLanes(const MosaicJob<T>& job, int y) {
  const bool redLine = ((job.region.y + y) & 1) == job.redRow;
  return ((job.region.x & 1) == job.redColumn) == redLine;
}

template <class T>
HWY_INLINE bool IsRedLine(const MosaicJob<T>& job, int y) {
  return ((job.region.y + y) & 1) == job.redRow;
}

// Stores `count` pixels, at most one vector's lanes.
template <class DT, class V, class T>
HWY_INLINE void StorePixels(DT d, V r, V g, V b, T* HWY_RESTRICT out, int count) {
  if (HWY_LIKELY(count >= int(hn::Lanes(d)))) {
    StoreThree(r, g, b, d, out);
  } else {
    HWY_ALIGN T last[3 * hn::MaxLanes(d)];
    StoreThree(r, g, b, d, last);
    std::memcpy(out, last, size_t(count) * 3 * sizeof(T));
  }
}

// The same of wider lanes, narrowed with saturation.
template <class D, class V = hn::VFromD<D>, class T>
HWY_INLINE void StoreRgb(D, V r, V g, V b, T* HWY_RESTRICT out, int count) {
  const hn::Rebind<T, D> dSample;
  StorePixels(dSample, hn::DemoteTo(dSample, r), hn::DemoteTo(dSample, g), hn::DemoteTo(dSample, b),
              out, count);
}

}  // namespace Orvex::Primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
