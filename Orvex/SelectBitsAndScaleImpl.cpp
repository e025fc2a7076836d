// SPDX-License-Identifier: Apache-2.0
#include "Orvex/SelectBitsAndScaleImpl.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "Orvex/Check.h"
#include "Orvex/ImageFactoryInternal.h"
#include "Orvex/ImageFactoryPacking.h"
#include "Orvex/PixelFormatName.h"

namespace Orvex {

namespace {

// The output image, still without data.
std::unique_ptr<Image> PrepareImage(IImage* pSrc, PfncFormat_ output, size_t size) {
  auto pImage = std::make_unique<Image>();
  FrameCells::FillImageProps(pSrc, pImage.get(), output, nullptr, size, pSrc->GetWidth(),
                             pSrc->GetHeight());
  FrameCells::SetIncomplete(pImage.get(), pSrc->IsIncomplete());
  FrameCells::SetHasChunkData(pImage.get(), false);
  return pImage;
}

// The rule for any factor. The second test keeps a product that is no number out of the conversion.
uint8_t Saturate(double product) {
  return product > 255.0 ? 255 : product >= 0.0 ? static_cast<uint8_t>(product) : 0;
}

// What to do with a sample: a shift to the right (negative: to the left) when the factor is a whole
// power of two, which is exact and the common case; else the multiplication itself.
struct Scaling {
  Scaling(double scale, int topBit) : factor(std::pow(2.0, 7.0 - (topBit - scale))) {
    // Beyond these every sample becomes 0, or 255 unless it is 0.
    constexpr double sk_beyond = 64;
    whole = scale == std::floor(scale);
    right = whole ? topBit - 7 - static_cast<int>(std::clamp(scale, -sk_beyond, sk_beyond)) : 0;
    if (whole || topBit <= 7 || topBit > 15) return;
    words.resize(0x10000);
    for (unsigned value = 0; value < words.size(); ++value) words[value] = Saturate(value * factor);
  }
  int Clamped(int most) const { return std::clamp(right, -8, most); }

  double factor;
  bool whole;
  int right;
  // The result for every word, where a multiplication for each sample would take longer.
  std::vector<uint8_t> words;
};

void Scale24(const uint8_t* p, size_t count, const Scaling& scaling, uint8_t* pOut) {
  if (scaling.whole && scaling.right == 16) {
    return SampleKernels::PickOfThree(p, count, 2, pOut);
  }
  for (size_t i = 0; i < count; ++i) pOut[i] = Saturate(Load24(p + 3 * i) * scaling.factor);
}

// Samples as words; zeroBits is what stands below them.
void ScaleWords(const uint8_t* p, size_t count, const Scaling& scaling, unsigned zeroBits,
                uint8_t* pOut) {
  if (scaling.whole) {
    const int right = std::clamp(scaling.right + static_cast<int>(zeroBits), -8, 16);
    return SampleKernels::ScaleWords(p, count, right, pOut);
  }
  for (size_t i = 0; i < count; ++i) pOut[i] = scaling.words[LoadWord(p + 2 * i) >> zeroBits];
}

void ScaleBytes(const uint8_t* p, size_t count, const Scaling& scaling, uint8_t* pOut) {
  if (scaling.whole) return SampleKernels::ScaleBytes(p, count, scaling.Clamped(8), pOut);
  uint8_t table[256];
  for (unsigned value = 0; value < 256; ++value) table[value] = Saturate(value * scaling.factor);
  SampleKernels::LookUpBytes(p, count, table, pOut);
}

// Kept on purpose: here the low bits stand two places higher than in the 12-bit arrangement.
void ReadPackedTen(const uint8_t* pBytes, size_t count, uint16_t* pWords) {
  for (size_t i = 0; i < count; ++i) {
    const uint8_t* const pGroup = pBytes + i / 2 * 3;
    pWords[i] = static_cast<uint16_t>(i % 2 ? pGroup[2] << 2 | pGroup[1] >> 6
                                            : pGroup[0] << 2 | (pGroup[1] >> 2 & 3));
  }
}

template <Packing packing>
IImage* SelectBitsAndScale(IImage* pSrc, double scale, PfncFormat_ output, size_t samples) {
  CheckImageData(pSrc);
  auto pImage = PrepareImage(pSrc, output, samples);
  auto data = AllocateBytes(samples);
  uint8_t* const pOut = data.get();
  const uint8_t* const pIn = pSrc->GetData();
  const size_t inSize = pSrc->GetSizeOfBuffer(), bytes = samples * 3;
  const Scaling scaling(scale, static_cast<int>(BitsOf(packing)) - 1);
  if constexpr (packing == Packing::U10Packed) {
    ForSampleBlocks(samples, bytes, [&](size_t first, size_t count) {
      alignas(64) uint8_t padded[SampleBytes(packing, sk_blockSamples)];
      alignas(64) uint16_t words[sk_blockSamples];
      ReadPackedTen(BlockBytes<packing>(pIn, inSize, first, count, padded), count, words);
      ScaleWords(reinterpret_cast<const uint8_t*>(words), count, scaling, 0, pOut + first);
    });
  } else {
    ForSamples<packing>(pIn, inSize, samples, bytes,
                        [&](const uint8_t* p, size_t first, size_t count) {
                          if constexpr (packing == Packing::U8) {
                            ScaleBytes(p, count, scaling, pOut + first);
                          } else if constexpr (packing == Packing::U24) {
                            Scale24(p, count, scaling, pOut + first);
                          } else {
                            ScaleWords(p, count, scaling, ZeroBits(packing), pOut + first);
                          }
                        });
  }
  FrameCells::SetData(pImage.get(), data.release());
  return pImage.release();
}

}  // namespace

#define ORVEX_SELECT_MEMBER(member, packing, n, d)                                                \
  IImage* SelectBitsAndScaleImpl::SelectBitsAndScale_##member(IImage* pSrc, uint64_t,             \
                                                              double scale, PfncFormat_ output) { \
    const size_t samples = CheckedProduct(pSrc->GetWidth(), pSrc->GetHeight(), n);                \
    return SelectBitsAndScale<Packing::packing>(pSrc, scale, output, samples / d);                \
  }
ORVEX_SELECT_MEMBERS(ORVEX_SELECT_MEMBER)
#undef ORVEX_SELECT_MEMBER

IImage* SelectBitsAndScaleImpl::SelectBitsAndScale_NoImpl(IImage* pSrc, uint64_t, double,
                                                          PfncFormat_) {
  // Without an image there is no format to name.
  CHECK_ARG(pSrc, InvalidArgumentException, "Bit selection not available");
  const PfncFormat_ format = AsPixelFormat(pSrc->GetPixelFormat());
  THROW_PLAIN(InvalidArgumentException,
              std::string("Bit selection attempted but unavailable on pixel format ") +
                  GetPixelFormatName(format));
}

}  // namespace Orvex
