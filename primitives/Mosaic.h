#pragma once
// SPDX-License-Identifier: Apache-2.0
// One demosaicing call, as its kernels see it: where the mosaic and the picture lie, and where red
// stands.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "primitives/Ipp.h"
#include "primitives/IppCheck.h"
#include "primitives/WriteAround.h"

namespace Orvex::Primitives {

template <class T>
struct MosaicJob {
  const T* src;      // the mosaic's origin
  size_t srcStep;    // bytes
  IppiSize srcSize;  // of the whole mosaic
  IppiRect region;   // the part that is wanted, inside the mosaic
  T* dst;            // the region's first pixel
  size_t dstStep;    // bytes
  int redColumn;     // parities of red in the whole mosaic
  int redRow;
  bool around;  // whether the picture is to be written around the caches

  const T* Row(int y) const {
    return reinterpret_cast<const T*>(reinterpret_cast<const uint8_t*>(src) + size_t(y) * srcStep);
  }
  T* Out(int y) const {
    return reinterpret_cast<T*>(reinterpret_cast<uint8_t*>(dst) + size_t(y) * dstStep);
  }
};

// The position inside [0, size) that stands for i: mirrored at the edge pixels, which keeps the
// parity; a mosaic of one pixel repeats it.
constexpr int Mirror(int i, int size) {
  if (size == 1) return 0;
  const int period = 2 * (size - 1);
  i = i < 0 ? -i : i;
  i %= period;
  return i < size ? i : period - i;
}

// Sample i of a line that may have any alignment.
template <class T>
T SampleAt(const T* line, int i) {
  T sample;
  std::memcpy(&sample, line + i, sizeof(T));
  return sample;
}

// Checks the arguments that both demosaicing functions share and describes the job.
template <class T>
IppStatus MakeMosaicJob(const T* src, IppiRect region, IppiSize size, int srcStep, T* dst,
                        int dstStep, IppiBayerGrid grid, MosaicJob<T>* job) {
  if (const IppStatus status = CheckPlanes(src, srcStep, dst, dstStep, size)) return status;
  if (region.x < 0 || region.y < 0 || region.width <= 0 || region.height <= 0 ||
      region.width > size.width - region.x || region.height > size.height - region.y) {
    return ippStsSizeErr;
  }
  int redColumn = 0, redRow = 0;
  switch (grid) {
    case ippiBayerRGGB:
      break;
    case ippiBayerGRBG:
      redColumn = 1;
      break;
    case ippiBayerGBRG:
      redRow = 1;
      break;
    case ippiBayerBGGR:
      redColumn = redRow = 1;
      break;
    default:
      return ippStsBadArgErr;
  }
  const size_t pixels = size_t(region.width) * size_t(region.height);
  *job = {src,
          size_t(srcStep),
          size,
          region,
          dst,
          size_t(dstStep),
          redColumn,
          redRow,
          WritesAround(pixels * 3 * sizeof(T))};
  return ippStsNoErr;
}

}  // namespace Orvex::Primitives
