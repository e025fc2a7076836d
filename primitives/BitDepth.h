#pragma once
// SPDX-License-Identifier: Apache-2.0
// Kernels that change the bit depth and the packing of pixels, and regroup YCbCr samples. One row
// of ORVEX_DEPTH_KERNELS is one kernel: the declarations, the dispatch table, the tests and the
// benchmark are made from the rows.
//
// A kernel turns n = width * height samples (a 32-bit product) at `src` into as many at `dst`. Both
// lie without gaps and take n * bits / 8 bytes, rounded up; neither needs alignment; they don't
// overlap. 16-bit values are little-endian. Any thread.

#include <cstddef>
#include <cstdint>

namespace Orvex::Primitives {

// How samples lie in memory. 10 and 12 stand LSB-aligned in 16 bits, 16 fills them; 10p and 12p
// follow each other from the least significant bit; 10Packed and 12Packed are pairs in three bytes,
// high byte, low bits of both, high byte. The YCbCr layouts count pixels, not samples.
enum class Packing : uint8_t {
  U8,
  U10,
  U10p,
  U10Packed,
  U12,
  U12p,
  U12Packed,
  U16,
  U24,
  UYVY,
  UYYVYY,
  YUYV,
  YYUYYV
};

// The smallest group of samples that fills whole bytes.
struct Group {
  unsigned samples;
  unsigned bytes;
};

constexpr Group GroupOf(Packing packing) {
  switch (packing) {
    case Packing::U8:
      return {1, 1};
    case Packing::U10:
    case Packing::U12:
    case Packing::U16:
      return {1, 2};
    case Packing::U10p:
      return {4, 5};
    case Packing::U10Packed:
    case Packing::U12p:
    case Packing::U12Packed:
      return {2, 3};
    case Packing::U24:
      return {1, 3};
    case Packing::UYVY:
    case Packing::YUYV:
      return {4, 8};
    case Packing::UYYVYY:
    case Packing::YYUYYV:
      return {4, 6};
  }
  return {1, 1};
}

// Bytes of n samples, the last one rounded up.
constexpr size_t BytesOf(Packing packing, size_t n) {
  const Group group = GroupOf(packing);
  return (n * group.bytes + group.samples - 1) / group.samples;
}

// ORVEX_DEPTH_KERNELS(X): X(name, source packing, destination packing)
//
// To 8 bits the most significant ones are kept, from 8 bits the value is put on top; 10- and 12-bit
// values stand in the top bits of 16-bit ones. Kept on purpose, and tested: Pack8To16 and Pack8To24
// write the most significant byte only, Pack8To10Packed and Pack8To12Packed leave the middle byte
// of each group, Unpack10PackedTo8 and Unpack12PackedTo8 stop before the last samples (of an even
// count the last three, or the last one, stay as they were).
#define ORVEX_DEPTH_KERNELS(X)          \
  X(Unpack10To8, U10, U8)               \
  X(Pack8To10, U8, U10)                 \
  X(Unpack12To8, U12, U8)               \
  X(Pack8To12, U8, U12)                 \
  X(Unpack10To16, U10, U16)             \
  X(Pack16To10, U16, U10)               \
  X(Unpack12To16, U12, U16)             \
  X(Pack16To12, U16, U12)               \
  X(Unpack16To8, U16, U8)               \
  X(Pack8To16, U8, U16)                 \
  X(Unpack24To8, U24, U8)               \
  X(Pack8To24, U8, U24)                 \
  X(Unpack10pTo8, U10p, U8)             \
  X(Pack8To10p, U8, U10p)               \
  X(Unpack12pTo8, U12p, U8)             \
  X(Pack8To12p, U8, U12p)               \
  X(Unpack10PackedTo8, U10Packed, U8)   \
  X(Pack8To10Packed, U8, U10Packed)     \
  X(Unpack12PackedTo8, U12Packed, U8)   \
  X(Pack8To12Packed, U8, U12Packed)     \
  X(Unpack10pTo16, U10p, U16)           \
  X(Pack16To10p, U16, U10p)             \
  X(Unpack12pTo16, U12p, U16)           \
  X(Pack16To12p, U16, U12p)             \
  X(Unpack10PackedTo16, U10Packed, U16) \
  X(Pack16To10Packed, U16, U10Packed)   \
  X(Unpack12PackedTo16, U12Packed, U16) \
  X(Pack16To12Packed, U16, U12Packed)   \
  X(RegroupUYYVYYToUYVY, UYYVYY, UYVY)  \
  X(RegroupUYVYToUYYVYY, UYVY, UYYVYY)  \
  X(RegroupYYUYYVToYUYV, YYUYYV, YUYV)  \
  X(RegroupYUYVToYYUYYV, YUYV, YYUYYV)

using DepthKernel = void (*)(const uint8_t* src, uint8_t* dst, uint32_t width, uint32_t height);

#define ORVEX_DECLARE(name, from, to) \
  void name(const uint8_t* src, uint8_t* dst, uint32_t width, uint32_t height);
ORVEX_DEPTH_KERNELS(ORVEX_DECLARE)
#undef ORVEX_DECLARE

struct DepthKernelRow {
  const char* name;
  Packing from;
  Packing to;
  DepthKernel run;
};

// Every kernel once, for those who go through all of them.
#define ORVEX_ROW(name, from, to) {#name, Packing::from, Packing::to, &name},
inline constexpr DepthKernelRow sk_depthKernels[] = {ORVEX_DEPTH_KERNELS(ORVEX_ROW)};
#undef ORVEX_ROW

// The kernel between two packings, null when there is none.
constexpr DepthKernel FindDepthKernel(Packing from, Packing to) {
  for (const DepthKernelRow& row : sk_depthKernels) {
    if (row.from == from && row.to == to) return row.run;
  }
  return nullptr;
}

}  // namespace Orvex::Primitives
