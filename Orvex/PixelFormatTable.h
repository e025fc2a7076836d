#pragma once
// SPDX-License-Identifier: Apache-2.0
// One row for each format that has a descriptor:
//   X(format, bit selection, 8-bit output, lookup table, layout)
// The second and fourth column name the member of the engine that treats the format: what a sample
// looks like, then how many channels or which chroma layout there are. The rule: both name the
// format's own layout, and the output is the 8-bit format of the same family. What departs from the
// rule does so on purpose. The rows make the layout functions, the descriptor classes and the
// bit selection of the image factory.

#include <cstddef>

namespace Orvex {

/// What the layout functions answer. A step is the smallest run of whole pixels in whole bytes.
struct PixelLayout {
  size_t channels = 0;
  size_t bitsPerChannel = 0;
  size_t bytesPerStep = 0;
  size_t pixelsPerStep = 0;
};

namespace Layouts {

// Named by channels and bits of a channel. 12Packed has the figures of 12p.
inline constexpr PixelLayout LUnknown{};
inline constexpr PixelLayout L1x8{1, 8, 1, 1};
inline constexpr PixelLayout L1x10{1, 10, 2, 1};
inline constexpr PixelLayout L1x10p{1, 10, 5, 4};
inline constexpr PixelLayout L1x10Packed{1, 10, 3, 2};
inline constexpr PixelLayout L1x12{1, 12, 2, 1};
inline constexpr PixelLayout L1x12p{1, 12, 3, 2};
inline constexpr PixelLayout L1x16{1, 16, 2, 1};
inline constexpr PixelLayout L1x24{1, 24, 3, 1};
inline constexpr PixelLayout L2x8{2, 8, 2, 1};
inline constexpr PixelLayout L2x12p{2, 12, 3, 1};
inline constexpr PixelLayout L3x8{3, 8, 3, 1};
// Kept on purpose: three pixels in three bytes, where other formats of three bytes have one.
inline constexpr PixelLayout LStokes3x8{3, 8, 3, 3};
inline constexpr PixelLayout L3x12p{3, 12, 9, 2};
inline constexpr PixelLayout L3x16{3, 16, 6, 1};
inline constexpr PixelLayout L3x24{3, 24, 9, 1};
inline constexpr PixelLayout L4x8{4, 8, 4, 1};
inline constexpr PixelLayout L4x12p{4, 12, 6, 1};
inline constexpr PixelLayout L4x16{4, 16, 8, 1};
inline constexpr PixelLayout L411x8{3, 8, 6, 4};
inline constexpr PixelLayout L411x16{3, 16, 12, 4};
inline constexpr PixelLayout L411x24{3, 24, 18, 4};
inline constexpr PixelLayout L422x8{3, 8, 4, 2};
inline constexpr PixelLayout L422x16{3, 16, 8, 2};
inline constexpr PixelLayout L422x24{3, 24, 12, 2};

}  // namespace Layouts
}  // namespace Orvex

// clang-format off
// Mono and the four Bayer patterns.
#define ORVEX_PF_SINGLE(X, family)                                   \
  X(family##8,        8Bits,        family##8, 8Bits,   L1x8)        \
  X(family##10,       10Bits,       family##8, 10Bits,  L1x10)       \
  X(family##10p,      10pBits,      family##8, 10pBits, L1x10p)      \
  X(family##10Packed, 10PackedBits, family##8, NoImpl,  L1x10Packed) \
  X(family##12,       12Bits,       family##8, 12Bits,  L1x12)       \
  X(family##12p,      12pBits,      family##8, 12pBits, L1x12p)      \
  X(family##12Packed, 12PackedBits, family##8, NoImpl,  L1x12p)      \
  X(family##16,       16Bits,       family##8, 16Bits,  L1x16)       \
  X(family##24,       24Bits,       family##8, 24Bits,  L1x24)

// Kept on purpose: RGB12 and BGR12 have no known layout.
#define ORVEX_PF_COLOUR(X)                           \
  X(RGB8,   8Bits3Ch,   RGB8,  8Bits3Ch,   L3x8)     \
  X(RGB12,  12Bits3Ch,  RGB8,  NoImpl,     LUnknown) \
  X(RGB12p, 12pBits3Ch, RGB8,  12pBits3Ch, L3x12p)   \
  X(RGB16,  16Bits3Ch,  RGB8,  16Bits3Ch,  L3x16)    \
  X(RGB24,  24Bits3Ch,  RGB8,  24Bits3Ch,  L3x24)    \
  X(RGBa8,  8Bits4Ch,   RGBa8, 8Bits4Ch,   L4x8)     \
  X(RGBa16, 16Bits4Ch,  RGBa8, 16Bits4Ch,  L4x16)    \
  X(BGR8,   8Bits3Ch,   BGR8,  8Bits3Ch,   L3x8)     \
  X(BGR12p, 12pBits3Ch, BGR8,  12pBits3Ch, L3x12p)   \
  X(BGR16,  16Bits3Ch,  BGR8,  16Bits3Ch,  L3x16)    \
  X(BGR24,  24Bits3Ch,  BGR8,  24Bits3Ch,  L3x24)    \
  X(BGRa8,  8Bits4Ch,   BGRa8, 8Bits4Ch,   L4x8)     \
  X(BGRa16, 16Bits4Ch,  BGRa8, 16Bits4Ch,  L4x16)

// Kept on purpose: the output of BGR12 is BGR12, not BGR8.
#define ORVEX_PF_BGR12(X) X(BGR12, 12Bits3Ch, BGR12, NoImpl, LUnknown)

// Luma and chroma.
#define ORVEX_PF_LUMA_CHROMA(X)                                               \
  X(YCbCr8,               8Bits3Ch,  YCbCr8,              8Bits3Ch,  L3x8)    \
  X(YCbCr8_CbYCr,         8Bits3Ch,  YCbCr8_CbYCr,        8Bits3Ch,  L3x8)    \
  X(YUV8_UYV,             8Bits3Ch,  YUV8_UYV,            8Bits3Ch,  L3x8)    \
  X(YCbCr411_8,           8Bits411,  YCbCr411_8,          8Bits411,  L411x8)  \
  X(YCbCr411_8_CbYYCrYY,  8Bits411,  YCbCr411_8_CbYYCrYY, 8Bits411,  L411x8)  \
  X(YUV411_8_UYYVYY,      8Bits411,  YUV411_8_UYYVYY,     8Bits411,  L411x8)  \
  X(YCbCr411_16_CbYYCrYY, 16Bits411, YCbCr411_8_CbYYCrYY, 16Bits411, L411x16) \
  X(YCbCr411_24_CbYYCrYY, 24Bits411, YCbCr411_8_CbYYCrYY, 24Bits411, L411x24) \
  X(YCbCr422_8,           8Bits422,  YCbCr422_8,          8Bits422,  L422x8)  \
  X(YCbCr422_8_CbYCrY,    8Bits422,  YCbCr422_8_CbYCrY,   8Bits422,  L422x8)  \
  X(YUV422_8,             8Bits422,  YUV422_8,            8Bits422,  L422x8)  \
  X(YUV422_8_UYVY,        8Bits422,  YUV422_8_UYVY,       8Bits422,  L422x8)  \
  X(YCbCr422_16_CbYCrY,   16Bits422, YCbCr422_8_CbYCrY,   16Bits422, L422x16) \
  X(YCbCr422_24_CbYCrY,   24Bits422, YCbCr422_8_CbYCrY,   24Bits422, L422x24)

// Coordinates have no meaningful eight bits.
#define ORVEX_PF_3D(X)                                          \
  X(Coord3D_C16,     NoImpl, Coord3D_C16,     16Bits,    L1x16) \
  X(Coord3D_C16s,    NoImpl, Coord3D_C16s,    16Bits,    L1x16) \
  X(Confidence16,    NoImpl, Confidence16,    16Bits,    L1x16) \
  X(Coord3D_ABC16,   NoImpl, Coord3D_ABC16,   16Bits3Ch, L3x16) \
  X(Coord3D_ABC16s,  NoImpl, Coord3D_ABC16s,  16Bits3Ch, L3x16) \
  X(Coord3D_ABCY16,  NoImpl, Coord3D_ABCY16,  16Bits4Ch, L4x16) \
  X(Coord3D_ABCY16s, NoImpl, Coord3D_ABCY16s, 16Bits4Ch, L4x16)

// Polarised formats that exist for mono sensors only.
#define ORVEX_PF_POLARIZED(X)                                                                               \
  X(PolarizeMono8,                      8Bits,        PolarizeMono8,                     8Bits,     L1x8)   \
  X(PolarizeMono12,                     12Bits,       PolarizeMono8,                     12Bits,    L1x12)  \
  X(PolarizeMono12p,                    12pBits,      PolarizeMono8,                     12pBits,   L1x12p) \
  X(PolarizeMono12Packed,               12PackedBits, PolarizeMono8,                     NoImpl,    L1x12p) \
  X(PolarizeMono16,                     16Bits,       PolarizeMono8,                     16Bits,    L1x16)  \
  X(PolarizedStokes_S0_S1_S2_Mono16,    16Bits3Ch,    PolarizedStokes_S0_S1_S2_Mono8,    16Bits3Ch, L3x16)  \
  X(PolarizedStokes_S0_S1_S2_S3_Mono16, 16Bits4Ch,    PolarizedStokes_S0_S1_S2_S3_Mono8, 16Bits4Ch, L4x16)

// Polarised formats of mono and BayerRG sensors.
#define ORVEX_PF_POLARIZED_SENSOR(X, sensor)                                                                                        \
  X(PolarizedAolp_##sensor##8,                     8Bits,      PolarizedAolp_##sensor##8,                   8Bits,      L1x8)       \
  X(PolarizedAolp_##sensor##12,                    12Bits,     PolarizedAolp_##sensor##8,                   12Bits,     LUnknown)   \
  X(PolarizedAolp_##sensor##12p,                   12pBits,    PolarizedAolp_##sensor##8,                   12pBits,    L1x12p)     \
  X(PolarizedDolp_##sensor##8,                     8Bits,      PolarizedDolp_##sensor##8,                   8Bits,      L1x8)       \
  X(PolarizedDolp_##sensor##12,                    12Bits,     PolarizedDolp_##sensor##8,                   12Bits,     LUnknown)   \
  X(PolarizedDolp_##sensor##12p,                   12pBits,    PolarizedDolp_##sensor##8,                   12pBits,    L1x12p)     \
  X(PolarizedAngles_0d_45d_90d_135d_##sensor##8,   8Bits4Ch,   PolarizedAngles_0d_45d_90d_135d_##sensor##8, 8Bits4Ch,   L4x8)       \
  X(PolarizedAngles_0d_45d_90d_135d_##sensor##12p, 12pBits4Ch, PolarizedAngles_0d_45d_90d_135d_##sensor##8, 12pBits4Ch, L4x12p)     \
  X(PolarizedStokes_S0_S1_S2_##sensor##8,          8Bits3Ch,   PolarizedStokes_S0_S1_S2_##sensor##8,        8Bits3Ch,   LStokes3x8) \
  X(PolarizedStokes_S0_S1_S2_##sensor##12p,        12pBits3Ch, PolarizedStokes_S0_S1_S2_##sensor##8,        12pBits3Ch, L3x12p)     \
  X(PolarizedStokes_S0_S1_S2_S3_##sensor##8,       8Bits4Ch,   PolarizedStokes_S0_S1_S2_S3_##sensor##8,     8Bits4Ch,   L4x8)       \
  X(PolarizedStokes_S0_S1_S2_S3_##sensor##12p,     12pBits4Ch, PolarizedStokes_S0_S1_S2_S3_##sensor##8,     12pBits4Ch, L4x12p)

// Kept on purpose: bit selection of the 8-bit formats treats one of the two channels, and the
// lookup tables of mono and BayerRG differ.
#define ORVEX_PF_DOLP_AOLP(X)                                                                   \
  X(PolarizedDolpAolp_Mono8,      8Bits,      PolarizedDolpAolp_Mono8,    8Bits,      L2x8)     \
  X(PolarizedDolpAolp_Mono12,     12Bits2Ch,  PolarizedDolpAolp_Mono8,    12Bits,     LUnknown) \
  X(PolarizedDolpAolp_Mono12p,    12pBits2Ch, PolarizedDolpAolp_Mono8,    12pBits,    L2x12p)   \
  X(PolarizedDolpAolp_BayerRG8,   8Bits,      PolarizedDolpAolp_BayerRG8, 8Bits2Ch,   L2x8)     \
  X(PolarizedDolpAolp_BayerRG12,  12Bits2Ch,  PolarizedDolpAolp_BayerRG8, NoImpl,     LUnknown) \
  X(PolarizedDolpAolp_BayerRG12p, 12pBits2Ch, PolarizedDolpAolp_BayerRG8, 12pBits2Ch, L2x12p)

// Compressed formats; their operations treat the samples of a decompressed image.
#define ORVEX_PF_QOI(X)                                           \
  X(QOI_Mono8,        8Bits,    Mono8,        8Bits,    LUnknown) \
  X(QOI_BayerGR8,     8Bits,    BayerGR8,     8Bits,    LUnknown) \
  X(QOI_BayerRG8,     8Bits,    BayerRG8,     8Bits,    LUnknown) \
  X(QOI_BayerGB8,     8Bits,    BayerGB8,     8Bits,    LUnknown) \
  X(QOI_BayerBG8,     8Bits,    BayerBG8,     8Bits,    LUnknown) \
  X(QOI_RGB8,         8Bits3Ch, RGB8,         8Bits3Ch, LUnknown) \
  X(QOI_BGR8,         8Bits3Ch, BGR8,         8Bits3Ch, LUnknown) \
  X(QOI_YCbCr8,       8Bits3Ch, YCbCr8,       8Bits3Ch, LUnknown) \
  X(QOI_YCbCr8_CbYCr, 8Bits3Ch, YCbCr8_CbYCr, 8Bits3Ch, LUnknown)

// Dual and quad formats: a pixel is one sample, the sensors alternate within a line.
#define ORVEX_PF_MULTI_SENSOR(X, family)             \
  X(family##8,  8Bits,  family##8, 8Bits,  LUnknown) \
  X(family##10, 10Bits, family##8, 10Bits, LUnknown) \
  X(family##12, 12Bits, family##8, 12Bits, LUnknown) \
  X(family##16, 16Bits, family##8, 16Bits, LUnknown)

// Every format that has a descriptor, each once.
#define ORVEX_PF_ROWS(X)                \
  ORVEX_PF_SINGLE(X, Mono)              \
  ORVEX_PF_SINGLE(X, BayerBG)           \
  ORVEX_PF_SINGLE(X, BayerGB)           \
  ORVEX_PF_SINGLE(X, BayerGR)           \
  ORVEX_PF_SINGLE(X, BayerRG)           \
  ORVEX_PF_COLOUR(X)                    \
  ORVEX_PF_BGR12(X)                     \
  ORVEX_PF_LUMA_CHROMA(X)               \
  ORVEX_PF_3D(X)                        \
  ORVEX_PF_POLARIZED(X)                 \
  ORVEX_PF_POLARIZED_SENSOR(X, Mono)    \
  ORVEX_PF_POLARIZED_SENSOR(X, BayerRG) \
  ORVEX_PF_DOLP_AOLP(X)                 \
  ORVEX_PF_QOI(X)                       \
  ORVEX_PF_MULTI_SENSOR(X, DualMono)    \
  ORVEX_PF_MULTI_SENSOR(X, DualBayerRG) \
  ORVEX_PF_MULTI_SENSOR(X, DualBayerGR) \
  ORVEX_PF_MULTI_SENSOR(X, DualBayerBG) \
  ORVEX_PF_MULTI_SENSOR(X, DualBayerGB) \
  ORVEX_PF_MULTI_SENSOR(X, QuadMono)    \
  ORVEX_PF_MULTI_SENSOR(X, QuadBayerRG) \
  ORVEX_PF_MULTI_SENSOR(X, QuadBayerGR) \
  ORVEX_PF_MULTI_SENSOR(X, QuadBayerBG) \
  ORVEX_PF_MULTI_SENSOR(X, QuadBayerGB)
// clang-format on
