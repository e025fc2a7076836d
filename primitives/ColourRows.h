#pragma once
// SPDX-License-Identifier: Apache-2.0
// The line kernels behind the colour primitives: one row a kernel, from which declarations and
// dispatch are made. A kernel turns n pixels at src into n pixels at dst, touching nothing else;
// src and dst may have any alignment. Any thread.

#include <cstddef>
#include <cstdint>

namespace Orvex::Primitives {

// Which bytes a pixel shuffle takes: positions in 16 source bytes, 0x80 where `fill` stands
// instead; bytes that are 0xFF in `keep` stay as they were.
struct ShuffleTable {
  alignas(16) uint8_t at[16];
  alignas(16) uint8_t fill[16];
  alignas(16) uint8_t keep[16];
  bool keepsAny;
};

struct RowParams {
  uint8_t alpha = 0;
  const ShuffleTable* table = nullptr;
  // Write around the caches.
  bool around = false;
};

// X(name, bytes of a source pixel, bytes of a destination pixel, whether lines group pixels in
// pairs)
#define ORVEX_COLOUR_ROWS(X)    \
  X(GreyToRgb8C3, 1, 3, false)  \
  X(GreyToRgb8C4, 1, 4, false)  \
  X(GreyToRgb16C3, 2, 6, false) \
  X(RgbToGrey8C3, 3, 1, false)  \
  X(RgbToGrey8C4, 4, 1, false)  \
  X(RgbToGrey16C3, 6, 2, false) \
  X(Shuffle3To3, 3, 3, false)   \
  X(Shuffle3To4, 3, 4, false)   \
  X(Shuffle4To3, 4, 3, false)   \
  X(Shuffle4To4, 4, 4, false)   \
  X(Shuffle6To6, 6, 6, false)   \
  X(Shuffle6To8, 6, 8, false)   \
  X(Shuffle8To6, 8, 6, false)   \
  X(Scale8To16C1, 1, 2, false)  \
  X(Scale8To16AC4, 4, 8, false) \
  X(Scale16To8C1, 2, 1, false)  \
  X(Scale16To8AC4, 8, 4, false) \
  X(RgbToYCbCr, 3, 3, false)    \
  X(YCbCrToRgb, 3, 3, false)    \
  X(CbYCr422ToBgr, 2, 4, true)  \
  X(YCbCr422ToBgr, 2, 4, true)  \
  X(BgrToCbYCr422, 4, 2, true)  \
  X(BgrToYCbCr422, 4, 2, true)

using RowKernel = void (*)(const RowParams& params, const uint8_t* src, uint8_t* dst, size_t n);

// Each returns the kernel for this processor.
#define ORVEX_DECLARE(name, in, out, pairs) RowKernel name();
ORVEX_COLOUR_ROWS(ORVEX_DECLARE)
#undef ORVEX_DECLARE

}  // namespace Orvex::Primitives
