#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the depth kernels must do, one sample at a time.

#include <algorithm>
#include <cstring>

#include "primitives/BitDepth.h"

namespace Plain {

using Orvex::Primitives::BytesOf;
using Orvex::Primitives::Packing;

// Sample i, moved to the top of 16 bits.
inline unsigned ReadTop(Packing packing, const uint8_t* src, size_t i) {
  const auto word = [src](size_t at) { return unsigned(src[at]) | unsigned(src[at + 1]) << 8; };
  switch (packing) {
    case Packing::U8:
      return unsigned(src[i]) << 8;
    case Packing::U10:
      return word(2 * i) << 6 & 0xFFFF;
    case Packing::U12:
      return word(2 * i) << 4 & 0xFFFF;
    case Packing::U16:
      return word(2 * i);
    case Packing::U24:
      return unsigned(src[3 * i + 2]) << 8;
    case Packing::U10p:
      return (word(10 * i / 8) >> (10 * i % 8) & 0x3FF) << 6;
    case Packing::U12p:
      return (word(12 * i / 8) >> (12 * i % 8) & 0xFFF) << 4;
    case Packing::U10Packed:
      return unsigned(src[i / 2 * 3 + i % 2 * 2]) << 8 | (src[i / 2 * 3 + 1] >> i % 2 * 4 & 3u)
                                                             << 6;
    case Packing::U12Packed:
      return unsigned(src[i / 2 * 3 + i % 2 * 2]) << 8 | (src[i / 2 * 3 + 1] >> i % 2 * 4 & 15u)
                                                             << 4;
    default:
      return 0;
  }
}

// Packed destinations that are written whole are zero before the first sample comes.
inline void WriteTop(Packing packing, uint8_t* dst, size_t i, unsigned value, bool highOnly) {
  const auto word = [dst](size_t at, unsigned v) {
    dst[at] = uint8_t(v);
    dst[at + 1] = uint8_t(v >> 8);
  };
  const auto orWord = [dst](size_t at, unsigned v) {
    dst[at] = uint8_t(dst[at] | v);
    if (v >> 8) dst[at + 1] = uint8_t(dst[at + 1] | v >> 8);
  };
  switch (packing) {
    case Packing::U8:
      dst[i] = uint8_t(value >> 8);
      break;
    case Packing::U10:
      word(2 * i, value >> 6);
      break;
    case Packing::U12:
      word(2 * i, value >> 4);
      break;
    case Packing::U16:
      if (highOnly)
        dst[2 * i + 1] = uint8_t(value >> 8);
      else
        word(2 * i, value);
      break;
    case Packing::U24:
      dst[3 * i + 2] = uint8_t(value >> 8);
      break;
    case Packing::U10p:
      orWord(10 * i / 8, value >> 6 << (10 * i % 8));
      break;
    case Packing::U12p:
      orWord(12 * i / 8, value >> 4 << (12 * i % 8));
      break;
    case Packing::U10Packed:
    case Packing::U12Packed: {
      dst[i / 2 * 3 + i % 2 * 2] = uint8_t(value >> 8);
      const unsigned low = packing == Packing::U10Packed ? value >> 6 & 3 : value >> 4 & 15;
      if (!highOnly) dst[i / 2 * 3 + 1] = uint8_t(dst[i / 2 * 3 + 1] | low << i % 2 * 4);
      break;
    }
    default:
      break;
  }
}

// How many samples a kernel writes: pairs while the index is below n less `early`, then one more.
inline size_t Written(Packing from, Packing to, size_t n) {
  if (to != Packing::U8 || (from != Packing::U10Packed && from != Packing::U12Packed)) return n;
  const long early = from == Packing::U10Packed ? 4 : 2;
  long i = 0;
  while (i < long(n) - early) i += 2;
  return size_t(std::min(i + 1, long(n)));
}

inline void Change(Packing from, Packing to, const uint8_t* src, uint8_t* dst, uint32_t width,
                   uint32_t height) {
  const size_t n = width * height;
  const bool highOnly = from == Packing::U8;
  const bool packed = to == Packing::U10p || to == Packing::U12p ||
                      ((to == Packing::U10Packed || to == Packing::U12Packed) && !highOnly);
  if (packed) std::memset(dst, 0, BytesOf(to, n));
  const size_t count = Written(from, to, n);
  for (size_t i = 0; i < count; ++i) WriteTop(to, dst, i, ReadTop(from, src, i), highOnly);
}

// Where luma and chroma of pixel p of a group of four lie.
struct YuvLayout {
  uint8_t bytes;
  uint8_t luma[4];
  uint8_t cb;
  uint8_t cr;
};

constexpr YuvLayout LayoutOf(Packing packing) {
  switch (packing) {
    case Packing::UYVY:
      return {8, {1, 3, 5, 7}, 0, 2};
    case Packing::YUYV:
      return {8, {0, 2, 4, 6}, 1, 3};
    case Packing::UYYVYY:
      return {6, {1, 2, 4, 5}, 0, 3};
    default:
      return {6, {0, 1, 3, 4}, 2, 5};
  }
}

inline void Regroup(Packing from, Packing to, const uint8_t* src, uint8_t* dst, uint32_t width,
                    uint32_t height) {
  const YuvLayout in = LayoutOf(from), out = LayoutOf(to);
  const size_t n = width * height;
  // What a last group lacks is that of the group before, or grey.
  uint8_t luma[4] = {128, 128, 128, 128}, cb = 128, cr = 128;
  for (size_t i = 0; i < n; i += 4, src += in.bytes, dst += out.bytes) {
    const size_t have = std::min<size_t>(4, n - i);
    const size_t inBytes = BytesOf(from, have);
    for (int p = 0; p < 4; ++p) {
      if (in.luma[p] < inBytes) luma[p] = src[in.luma[p]];
    }
    if (in.cb < inBytes) cb = src[in.cb];
    if (in.cr < inBytes) cr = src[in.cr];
    uint8_t group[8];
    for (int p = 0; p < 4; ++p) group[out.luma[p]] = luma[p];
    group[out.cb] = cb;
    group[out.cr] = cr;
    if (out.bytes == 8) {
      group[out.cb + 4] = cb;
      group[out.cr + 4] = cr;
    }
    std::memcpy(dst, group, BytesOf(to, have));
  }
}

constexpr bool IsYuv(Packing packing) {
  return packing >= Packing::UYVY;
}

inline void Run(Packing from, Packing to, const uint8_t* src, uint8_t* dst, uint32_t width,
                uint32_t height) {
  if (width == 0 || height == 0) return;
  (IsYuv(from) ? Regroup : Change)(from, to, src, dst, width, height);
}

}  // namespace Plain
