#pragma once
// SPDX-License-Identifier: Apache-2.0
// Software lookup tables: replaces each sample of an image by what a table holds for it. Base of
// every pixel-format descriptor; holds no state. Any thread.

#include <cstddef>
#include <cstdint>

#include "PFNC.h"

namespace Orvex {

class IImage;

// X(member, packing, channels, shared length, length of one table per channel, message)
// Lengths are in bytes; the last but one is 0 where there is only one channel. The message is
// followed by the length that was given.
//
// Kept on purpose, because callers know them: the messages and lengths as they stand, among them
// 24,567 for the 24576 bytes of three 12-bit tables, 150994994 for three 24-bit tables (50 bytes
// more than they need, never read) and 524,288 for the shared 16-bit table of four channels.
// clang-format off
#define ORVEX_LUT_MEMBERS(X)                                                                       \
  X(8Bits, U8, One, 256, 0, "8-bit LUT requires 256-byte length (")                                \
  X(10Bits, U10, One, 2048, 0,                                                                     \
    "10-bit LUT requires 2048 (1024 values, 2 bytes per value) length (")                          \
  X(10pBits, U10p, One, 2048, 0,                                                                   \
    "10-bit LUT requires 2048 (1024 values, 2 bytes per value) length (")                          \
  X(10PackedBits, U10Packed, One, 2048, 0,                                                         \
    "10-bit LUT requires 2048-byte (1024 values, 2 bytes per value) length (")                     \
  X(12Bits, U12, One, 8192, 0,                                                                     \
    "12-bit LUT requires 8192-byte (4096 values, 2 bytes per value) length (")                     \
  X(12pBits, U12p, One, 8192, 0,                                                                   \
    "12-bit LUT requires 8192-byte (4096 values, 2 bytes per value) length (")                     \
  X(12PackedBits, U12Packed, One, 8192, 0,                                                         \
    "12-bit LUT requires 8192-byte (4096 values, 2 bytes per value) length (")                     \
  X(16Bits, U16, One, 131072, 0,                                                                   \
    "16-bit LUT requires 131,072-byte (65,536 values, 2 bytes per value) length (")                \
  X(24Bits, U24, One, 50331648, 0,                                                                 \
    "24-bit LUT requires 50,331,648-byte (16,777,216 values, 3 bytes per value) length (")         \
  X(8Bits2Ch, U8, Two, 256, 512,                                                                   \
    "8-bit 2-channel LUT requires 256-byte (channels same) or 512-byte (channels differ) "         \
    "length (")                                                                                    \
  X(12pBits2Ch, U12p, Two, 8192, 16384,                                                            \
    "12-bit 2-channel LUT requires 8192-byte (4096 values, 2 bytes per value, channels same) or "  \
    "16384 (channels differ) length (")                                                            \
  X(8Bits3Ch, U8, Three, 256, 768, ORVEX_LUT_8_3)                                                  \
  X(12pBits3Ch, U12p, Three, 8192, 24576,                                                          \
    "12-bit 3-channel LUT requires 8192-byte (4096 values, 2 bytes per value, channels same) or "  \
    "24,567-byte (channels differ) length (")                                                      \
  X(16Bits3Ch, U16, Three, 131072, 393216, ORVEX_LUT_16_3)                                         \
  X(24Bits3Ch, U24, Three, 50331648, 150994994, ORVEX_LUT_24_3)                                    \
  X(8Bits4Ch, U8, Four, 256, 1024,                                                                 \
    "8-bit 4-channel LUT requires 256-byte (channels same) or 1024-byte (channels differ) "        \
    "length (")                                                                                    \
  X(12pBits4Ch, U12p, Four, 8192, 32768,                                                           \
    "12-bit 4-channel LUT requires 8192-byte (4096 values, 2 bytes per value, channels same) or "  \
    "32,768-byte (channels differ) length (")                                                      \
  X(16Bits4Ch, U16, Four, 131072, 524288,                                                          \
    "16-bit 4-channel LUT requires 524,288-byte (65,536 values, 2 bytes per value, channels "      \
    "same) or 524,288-byte (channels differ) length (")                                            \
  X(8Bits411, U8, Chroma411, 256, 768, ORVEX_LUT_8_3)                                              \
  X(8Bits422, U8, Chroma422, 256, 768, ORVEX_LUT_8_3)                                              \
  X(16Bits411, U16, Chroma411, 131072, 393216, ORVEX_LUT_16_3)                                     \
  X(16Bits422, U16, Chroma422, 131072, 393216, ORVEX_LUT_16_3)                                     \
  X(24Bits411, U24, Chroma411, 50331648, 150994994, ORVEX_LUT_24_3)                                \
  X(24Bits422, U24, Chroma422, 50331648, 150994994, ORVEX_LUT_24_3)

#define ORVEX_LUT_8_3                                                                              \
  "8-bit 3-channel LUT requires 256-byte (channels same) or 768-byte (channels differ) length ("
#define ORVEX_LUT_16_3                                                                             \
  "16-bit 3-channel LUT requires 131,072-byte (65,536 values, 2 bytes per value, channels same) "  \
  "or 393,216-byte (channels differ) length ("
#define ORVEX_LUT_24_3                                                                             \
  "24-bit 3-channel LUT requires 50,331,648-byte (16,777,216 values, 3 bytes per value, channels " \
  "same) or 150,994,994-byte (channels differ) length ("
// clang-format on

class ProcessSoftwareLUTImpl {
 protected:
  ~ProcessSoftwareLUTImpl() = default;

  // Each: a new image of the same format. A table holds one entry for each sample value: 1 byte
  // for 8 bits, 2 bytes in host order for 10 to 16 bits, 3 bytes, low byte first, for 24 bits.
  // One table serves all channels, or one per channel lies end to end in channel order; in the
  // chroma layouts the order is luma, first chroma, second chroma.
#define ORVEX_LUT_MEMBER(member, packing, channels, shared, each, message) \
  static IImage* ProcessSoftwareLUT_##member(IImage* pSrc, const uint8_t* pLut, size_t lutLength);
  ORVEX_LUT_MEMBERS(ORVEX_LUT_MEMBER)
#undef ORVEX_LUT_MEMBER

  /// For formats without lookup tables: always throws InvalidArgumentException.
  [[noreturn]] static IImage* ProcessSoftwareLUT_NoImpl(IImage* pSrc, const uint8_t* pLut,
                                                        size_t lutLength);
};

}  // namespace Orvex
