#pragma once
// SPDX-License-Identifier: Apache-2.0
// Keeps eight bits of every sample. One object serves one call of the image factory.

#include <cstddef>
#include <cstdint>

#include "Orvex/ImageFactoryInternal.h"
#include "Orvex/PixelFormatTable.h"

namespace Orvex {

// X(format, member, 8-bit output, -, -): the formats whose bits can be selected. Most rows are
// those of the descriptors; the others depart from them or have no descriptor.
// clang-format off
#define ORVEX_SELECT_BITS_TWO_CHANNELS(X, kind, sensor)                                             \
  X(Polarized##kind##_##sensor##8,   8Bits2Ch,   Polarized##kind##_##sensor##8, NoImpl, LUnknown)   \
  X(Polarized##kind##_##sensor##12p, 12pBits2Ch, Polarized##kind##_##sensor##8, NoImpl, LUnknown)
#define ORVEX_SELECT_BITS_PACKED(X, family)                           \
  X(family##10p,      10pBits,      family##8, NoImpl, LUnknown)      \
  X(family##10Packed, 10PackedBits, family##8, NoImpl, LUnknown)      \
  X(family##12p,      12pBits,      family##8, NoImpl, LUnknown)      \
  X(family##12Packed, 12PackedBits, family##8, NoImpl, LUnknown)
#define ORVEX_SELECT_BITS_SENSOR(X, family)                           \
  ORVEX_PF_MULTI_SENSOR(X, family) ORVEX_SELECT_BITS_PACKED(X, family)
#define ORVEX_SELECT_BITS_SENSORS(X, count)                           \
  ORVEX_SELECT_BITS_SENSOR(X, count##Mono)                            \
  ORVEX_SELECT_BITS_SENSOR(X, count##BayerRG)                         \
  ORVEX_SELECT_BITS_SENSOR(X, count##BayerGR)                         \
  ORVEX_SELECT_BITS_SENSOR(X, count##BayerBG)                         \
  ORVEX_SELECT_BITS_SENSOR(X, count##BayerGB)
#define ORVEX_SELECT_BITS_ROWS(X)                                     \
  ORVEX_PF_SINGLE(X, Mono)                                            \
  ORVEX_PF_SINGLE(X, BayerBG)                                         \
  ORVEX_PF_SINGLE(X, BayerGB)                                         \
  ORVEX_PF_SINGLE(X, BayerGR)                                         \
  ORVEX_PF_SINGLE(X, BayerRG)                                         \
  ORVEX_PF_COLOUR(X)                                                  \
  X(BGR12, 12Bits3Ch, BGR8, NoImpl, LUnknown)                         \
  ORVEX_PF_LUMA_CHROMA(X)                                             \
  X(YCbCr16_CbYCr, 16Bits3Ch, YCbCr8_CbYCr, NoImpl, LUnknown)         \
  X(YCbCr24_CbYCr, 24Bits3Ch, YCbCr8_CbYCr, NoImpl, LUnknown)         \
  ORVEX_PF_POLARIZED(X)                                               \
  ORVEX_PF_POLARIZED_SENSOR(X, Mono)                                  \
  ORVEX_PF_POLARIZED_SENSOR(X, BayerRG)                               \
  ORVEX_SELECT_BITS_TWO_CHANNELS(X, DolpAolp, Mono)                   \
  ORVEX_SELECT_BITS_TWO_CHANNELS(X, DolpAolp, BayerRG)                \
  X(PolarizedDolpAolp_Mono12, 12Bits2Ch, PolarizedDolpAolp_Mono8, NoImpl, LUnknown)           \
  X(PolarizedDolpAolp_BayerRG12, 12Bits2Ch, PolarizedDolpAolp_BayerRG8, NoImpl, LUnknown)     \
  ORVEX_SELECT_BITS_TWO_CHANNELS(X, DolpAngle, Mono)                  \
  ORVEX_SELECT_BITS_TWO_CHANNELS(X, DolpAngle, BayerRG)               \
  X(PolarizedDolpAngle_Mono16, 16Bits2Ch, PolarizedDolpAngle_Mono8, NoImpl, LUnknown)         \
  X(PolarizedDolpAngle_BayerRG16, 16Bits2Ch, PolarizedDolpAngle_BayerRG8, NoImpl, LUnknown)   \
  X(PolarizedDolp_Mono16, 16Bits, PolarizedDolp_Mono8, NoImpl, LUnknown)                      \
  X(PolarizedDolp_BayerRG16, 16Bits, PolarizedDolp_BayerRG8, NoImpl, LUnknown)                \
  X(PolarizedAngles_0d_45d_90d_135d_Mono12, 12Bits4Ch, PolarizedAngles_0d_45d_90d_135d_Mono8, NoImpl, LUnknown) \
  X(PolarizedAngles_0d_45d_90d_135d_Mono16, 16Bits4Ch, PolarizedAngles_0d_45d_90d_135d_Mono8, NoImpl, LUnknown) \
  X(PolarizedAngles_0d_45d_90d_135d_BayerRG12, 12Bits4Ch, PolarizedAngles_0d_45d_90d_135d_BayerRG8, NoImpl, LUnknown) \
  X(PolarizedStokes_S0_S1_S2_S3_Mono12, 12Bits4Ch, PolarizedStokes_S0_S1_S2_S3_Mono8, NoImpl, LUnknown) \
  X(PolarizedStokes_S0_S1_S2_S3_BayerRG12, 12Bits4Ch, PolarizedStokes_S0_S1_S2_S3_BayerRG8, NoImpl, LUnknown) \
  ORVEX_SELECT_BITS_SENSORS(X, Dual)                                  \
  ORVEX_SELECT_BITS_SENSORS(X, Quad)
// clang-format on

// X(member, packing, n, d): n / d samples of the packing for each pixel.
#define ORVEX_SELECT_BITS_MEMBERS(X) \
  X(8Bits, U8, 1, 1)                 \
  X(8Bits2Ch, U8, 2, 1)              \
  X(8Bits3Ch, U8, 3, 1)              \
  X(8Bits4Ch, U8, 4, 1)              \
  X(8Bits411, U8, 3, 2)              \
  X(8Bits422, U8, 2, 1)              \
  X(10Bits, U10, 1, 1)               \
  X(10pBits, U10p, 1, 1)             \
  X(10PackedBits, U10Packed, 1, 1)   \
  X(12Bits, U12, 1, 1)               \
  X(12Bits2Ch, U12, 2, 1)            \
  X(12Bits3Ch, U12, 3, 1)            \
  X(12Bits4Ch, U12, 4, 1)            \
  X(12pBits, U12p, 1, 1)             \
  X(12pBits2Ch, U12p, 2, 1)          \
  X(12pBits3Ch, U12p, 3, 1)          \
  X(12pBits4Ch, U12p, 4, 1)          \
  X(12PackedBits, U12Packed, 1, 1)   \
  X(16Bits, U16, 1, 1)               \
  X(16Bits2Ch, U16, 2, 1)            \
  X(16Bits3Ch, U16, 3, 1)            \
  X(16Bits4Ch, U16, 4, 1)            \
  X(16Bits411, U16, 3, 2)            \
  X(16Bits422, U16, 2, 1)            \
  X(24Bits, U24, 1, 1)               \
  X(24Bits3Ch, U24, 3, 1)            \
  X(24Bits411, U24, 3, 2)            \
  X(24Bits422, U24, 2, 1)

class ImageFactorySelectBits final : public PixelFormatContractStandardImpl {
 public:
  /// Deep. numBits is 8; lowestBit is the position of the lowest bit kept.
  ImageFactorySelectBits(size_t numBits, int lowestBit);
  /// Shallow.
  ImageFactorySelectBits(uint8_t* pBuffer, size_t bufferSize, size_t numBits, int lowestBit);

  /// Fails as implNone does for formats whose bits cannot be selected.
  size_t Len(IImage* pSrc) override;
  uint64_t PixelFormat(IImage* pSrc) override;
  size_t Width(IImage* pSrc) override { return pSrc->GetWidth(); }
  size_t Height(IImage* pSrc) override { return pSrc->GetHeight(); }
  const char* algorithmName() override { return "select bits"; }

#define ORVEX_SELECT_BITS_SLOT(format, member, output, lut, layout) \
  void Process##format(IImage* pSrc, Image* pDst) override {        \
    impl##member(pSrc, pDst);                                       \
  }
  ORVEX_SELECT_BITS_ROWS(ORVEX_SELECT_BITS_SLOT)
#undef ORVEX_SELECT_BITS_SLOT

  void StandardProcess(IImage* pSrc, Image* pDst) override {
    implNone(pSrc, pDst);
  }
  void StandardShallow(IImage* pSrc, Image* pDst) override {
    implNone(pSrc, pDst);
  }

 private:
#define ORVEX_SELECT_BITS_MEMBER(member, packing, n, d) \
  void impl##member(IImage* pSrc, Image* pDst);
  ORVEX_SELECT_BITS_MEMBERS(ORVEX_SELECT_BITS_MEMBER)
#undef ORVEX_SELECT_BITS_MEMBER

  void CheckLowestBit(IImage* pSrc, unsigned sampleBits) const;

  size_t m_numBits;
  int m_lowestBit;
};

}  // namespace Orvex
