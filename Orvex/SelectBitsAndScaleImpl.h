#pragma once
// SPDX-License-Identifier: Apache-2.0
// Turns an image of any depth into one of 8-bit samples, by a power of two and saturation. Base of
// every pixel-format descriptor; holds no state. Any thread.

#include <cstddef>
#include <cstdint>

#include "PFNC.h"

namespace Orvex {

class IImage;

// X(member, packing, n, d): a member treats one packing and n / d samples for each pixel, rounded
// down for the whole image. The engine's members are made from these rows.
#define ORVEX_SELECT_MEMBERS(X)    \
  X(8Bits, U8, 1, 1)               \
  X(10Bits, U10, 1, 1)             \
  X(10pBits, U10p, 1, 1)           \
  X(10PackedBits, U10Packed, 1, 1) \
  X(12Bits, U12, 1, 1)             \
  X(12pBits, U12p, 1, 1)           \
  X(12PackedBits, U12Packed, 1, 1) \
  X(16Bits, U16, 1, 1)             \
  X(24Bits, U24, 1, 1)             \
  X(8Bits2Ch, U8, 2, 1)            \
  X(12Bits2Ch, U12, 2, 1)          \
  X(12pBits2Ch, U12p, 2, 1)        \
  X(8Bits3Ch, U8, 3, 1)            \
  X(12Bits3Ch, U12, 3, 1)          \
  X(12pBits3Ch, U12p, 3, 1)        \
  X(16Bits3Ch, U16, 3, 1)          \
  X(24Bits3Ch, U24, 3, 1)          \
  X(8Bits4Ch, U8, 4, 1)            \
  X(12pBits4Ch, U12p, 4, 1)        \
  X(16Bits4Ch, U16, 4, 1)          \
  X(8Bits411, U8, 3, 2)            \
  X(8Bits422, U8, 2, 1)            \
  X(16Bits411, U16, 3, 2)          \
  X(16Bits422, U16, 2, 1)          \
  X(24Bits411, U24, 3, 2)          \
  X(24Bits422, U24, 2, 1)

class SelectBitsAndScaleImpl {
 protected:
  ~SelectBitsAndScaleImpl() = default;

  // Each: a new image of `output`, one byte a sample, in the order of the source. numBits is not
  // read: the factory has seen to it that it is 8.
#define ORVEX_SELECT_MEMBER(member, packing, n, d)                                         \
  static IImage* SelectBitsAndScale_##member(IImage* pSrc, uint64_t numBits, double scale, \
                                             PfncFormat_ output);
  ORVEX_SELECT_MEMBERS(ORVEX_SELECT_MEMBER)
#undef ORVEX_SELECT_MEMBER

  /// For formats without bit selection: always throws InvalidArgumentException.
  [[noreturn]] static IImage* SelectBitsAndScale_NoImpl(IImage* pSrc, uint64_t numBits,
                                                        double scale, PfncFormat_ output);
};

}  // namespace Orvex
