#pragma once
// SPDX-License-Identifier: Apache-2.0
// Separates the channels of polarised, dual and quad images into planes that are stacked top to
// bottom. One object serves one call of the image factory.
//
// The output is as many times higher as there are channels and has the unpacked format of one
// channel; values are not scaled. In polarised formats a pixel holds one sample of each channel. In
// dual and quad formats a pixel is one sample, and the sensors alternate along a line: the planes
// are as many times narrower, and what is left of a line that does not divide is dropped. The
// ..._2ch and ..._4ch formats hold their planes one after the other already.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Orvex/ImageFactoryInternal.h"

namespace Orvex {

// X(format, member, channels, format of one channel)
// clang-format off
#define ORVEX_DEINTERLEAVE_POLARIZED(X, kind, member, channels, sensor)          \
  X(Polarized##kind##_##sensor##8,   implPolarized##member##8,   channels, sensor##8)     \
  X(Polarized##kind##_##sensor##12p, implPolarized##member##12p, channels, sensor##12)
#define ORVEX_DEINTERLEAVE_WORD(X, kind, member, channels, sensor, bits)         \
  X(Polarized##kind##_##sensor##bits, implPolarized##member##16, channels, sensor##bits)
#define ORVEX_DEINTERLEAVE_POLARIZED_SENSOR(X, sensor)                                       \
  ORVEX_DEINTERLEAVE_POLARIZED(X, Angles_0d_45d_90d_135d, Angles, 4, sensor)                 \
  ORVEX_DEINTERLEAVE_WORD(X, Angles_0d_45d_90d_135d, Angles, 4, sensor, 12)                  \
  ORVEX_DEINTERLEAVE_POLARIZED(X, Stokes_S0_S1_S2, Stokes, 3, sensor)                        \
  ORVEX_DEINTERLEAVE_POLARIZED(X, Stokes_S0_S1_S2_S3, Stokes, 4, sensor)                     \
  ORVEX_DEINTERLEAVE_WORD(X, Stokes_S0_S1_S2_S3, Stokes, 4, sensor, 12)                      \
  ORVEX_DEINTERLEAVE_POLARIZED(X, DolpAolp, Dolp, 2, sensor)                                 \
  ORVEX_DEINTERLEAVE_WORD(X, DolpAolp, Dolp, 2, sensor, 12)                                  \
  ORVEX_DEINTERLEAVE_POLARIZED(X, DolpAngle, Dolp, 2, sensor)                                \
  ORVEX_DEINTERLEAVE_WORD(X, DolpAngle, Dolp, 2, sensor, 16)
#define ORVEX_DEINTERLEAVE_FAMILY(X, count, channels, family)                    \
  X(count##family##8,        impl##count##8,        channels, family##8)         \
  X(count##family##10,       impl##count##16,       channels, family##10)        \
  X(count##family##10p,      impl##count##10p,      channels, family##10)        \
  X(count##family##10Packed, impl##count##10Packed, channels, family##10)        \
  X(count##family##12,       impl##count##16,       channels, family##12)        \
  X(count##family##12p,      impl##count##12p,      channels, family##12)        \
  X(count##family##12Packed, impl##count##12Packed, channels, family##12)        \
  X(count##family##16,       impl##count##16,       channels, family##16)        \
  X(count##family##8_##channels##ch,  implSeparated, channels, family##8)        \
  X(count##family##10_##channels##ch, implSeparated, channels, family##10)       \
  X(count##family##12_##channels##ch, implSeparated, channels, family##12)       \
  X(count##family##16_##channels##ch, implSeparated, channels, family##16)
#define ORVEX_DEINTERLEAVE_SENSORS(X, count, channels)        \
  ORVEX_DEINTERLEAVE_FAMILY(X, count, channels, Mono)         \
  ORVEX_DEINTERLEAVE_FAMILY(X, count, channels, BayerRG)      \
  ORVEX_DEINTERLEAVE_FAMILY(X, count, channels, BayerGR)      \
  ORVEX_DEINTERLEAVE_FAMILY(X, count, channels, BayerGB)      \
  ORVEX_DEINTERLEAVE_FAMILY(X, count, channels, BayerBG)
#define ORVEX_DEINTERLEAVE_ROWS(X)                                               \
  ORVEX_DEINTERLEAVE_POLARIZED_SENSOR(X, Mono)                                   \
  ORVEX_DEINTERLEAVE_POLARIZED_SENSOR(X, BayerRG)                                \
  ORVEX_DEINTERLEAVE_WORD(X, Angles_0d_45d_90d_135d, Angles, 4, Mono, 16)        \
  ORVEX_DEINTERLEAVE_WORD(X, Stokes_S0_S1_S2, Stokes, 3, Mono, 16)               \
  ORVEX_DEINTERLEAVE_WORD(X, Stokes_S0_S1_S2_S3, Stokes, 4, Mono, 16)            \
  ORVEX_DEINTERLEAVE_SENSORS(X, Dual, 2)                                         \
  ORVEX_DEINTERLEAVE_SENSORS(X, Quad, 4)
// clang-format on

class ImageFactoryDeinterleaveChannels final : public PixelFormatContractStandardImpl {
 public:
  using PixelFormatContractStandardImpl::PixelFormatContractStandardImpl;

  /// Fails as implNone does for formats of one channel.
  size_t Len(IImage* pSrc) override;
  uint64_t PixelFormat(IImage* pSrc) override;
  size_t Width(IImage* pSrc) override;
  size_t Height(IImage* pSrc) override;
  const char* algorithmName() override { return "deinterleave channels"; }

  /// The stacked planes as images of their own; the caller owns them.
  static std::vector<IImage*> createUnpackedImages(IImage* pPlanes, size_t channels);
  /// Frees such images.
  static void destroyUnpackedImages(std::span<IImage* const> images) noexcept;

#define ORVEX_DEINTERLEAVE_SLOT(format, member, channels, output) \
  void Process##format(IImage* pSrc, Image* pDst) override {      \
    member(pSrc, pDst);                                           \
  }
  ORVEX_DEINTERLEAVE_ROWS(ORVEX_DEINTERLEAVE_SLOT)
#undef ORVEX_DEINTERLEAVE_SLOT

  void StandardProcess(IImage* pSrc, Image* pDst) override {
    implNone(pSrc, pDst);
  }
  void StandardShallow(IImage* pSrc, Image* pDst) override {
    implNone(pSrc, pDst);
  }

 private:
  // The number at the end is the packing of the source; 16 stands for all unpacked words.
  void implPolarizedAngles8(IImage* pSrc, Image* pDst);
  void implPolarizedAngles12p(IImage* pSrc, Image* pDst);
  void implPolarizedAngles16(IImage* pSrc, Image* pDst);
  void implPolarizedStokes8(IImage* pSrc, Image* pDst);
  void implPolarizedStokes12p(IImage* pSrc, Image* pDst);
  void implPolarizedStokes16(IImage* pSrc, Image* pDst);
  void implPolarizedDolp8(IImage* pSrc, Image* pDst);
  void implPolarizedDolp12p(IImage* pSrc, Image* pDst);
  void implPolarizedDolp16(IImage* pSrc, Image* pDst);
  void implDual8(IImage* pSrc, Image* pDst);
  void implDual10p(IImage* pSrc, Image* pDst);
  void implDual10Packed(IImage* pSrc, Image* pDst);
  void implDual12p(IImage* pSrc, Image* pDst);
  void implDual12Packed(IImage* pSrc, Image* pDst);
  void implDual16(IImage* pSrc, Image* pDst);
  void implQuad8(IImage* pSrc, Image* pDst);
  void implQuad10p(IImage* pSrc, Image* pDst);
  void implQuad10Packed(IImage* pSrc, Image* pDst);
  void implQuad12p(IImage* pSrc, Image* pDst);
  void implQuad12Packed(IImage* pSrc, Image* pDst);
  void implQuad16(IImage* pSrc, Image* pDst);
  void implSeparated(IImage* pSrc, Image* pDst);
};

}  // namespace Orvex
