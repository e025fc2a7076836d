// SPDX-License-Identifier: Apache-2.0
#include "Orvex/SelectBitsAndScaleImpl.h"

#include <cmath>
#include <memory>

#include "Orvex/Check.h"
#include "Orvex/ImageFactoryInternal.h"
#include "Orvex/PixelFormatName.h"
#include "Orvex/Samples.h"

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

// Whole scale factors are shifts: exact, and the common case.
template <typename T>
void ScaleByShift(const T* pValues, size_t count, int right, uint8_t* pOut) {
  if (right >= 0) {
    const unsigned shift = static_cast<unsigned>(std::min(right, 31));
    for (size_t i = 0; i < count; ++i) {
      pOut[i] = static_cast<uint8_t>(std::min<uint32_t>(uint32_t{pValues[i]} >> shift, 255));
    }
  } else {
    // From eight places on, every value but 0 is out of range.
    const unsigned shift = static_cast<unsigned>(std::min(-right, 8));
    for (size_t i = 0; i < count; ++i) {
      pOut[i] = static_cast<uint8_t>(std::min<uint32_t>(uint32_t{pValues[i]} << shift, 255));
    }
  }
}

template <typename T>
void ScaleByFactor(const T* pValues, size_t count, double factor, uint8_t* pOut) {
  for (size_t i = 0; i < count; ++i) {
    const double product = pValues[i] * factor;
    // The second test keeps a product that is no number out of the conversion.
    pOut[i] = product > 255.0 ? 255 : product >= 0.0 ? static_cast<uint8_t>(product) : 0;
  }
}

template <Packing packing>
void ReadSamples(const uint8_t* pBytes, size_t count, SampleValue<packing>* pValues) {
  if constexpr (packing == Packing::U10Packed) {
    // Kept on purpose: the low bits stand two places higher than in the 12-bit arrangement.
    for (size_t i = 0; i < count; ++i) {
      const uint8_t* const pGroup = pBytes + i / 2 * 3;
      pValues[i] = static_cast<uint16_t>(i % 2 ? pGroup[2] << 2 | pGroup[1] >> 6
                                               : pGroup[0] << 2 | (pGroup[1] >> 2 & 3));
    }
  } else {
    UnpackBlock<packing>(pBytes, count, pValues);
  }
}

template <Packing packing>
IImage* SelectBitsAndScale(IImage* pSrc, double scale, PfncFormat_ output, size_t samples) {
  CheckImageData(pSrc);
  auto pImage = PrepareImage(pSrc, output, samples);
  auto data = AllocateBytes(samples);
  uint8_t* const pOut = data.get();
  const uint8_t* const pIn = pSrc->GetData();
  const size_t inSize = pSrc->GetSizeOfBuffer();

  constexpr int sk_topBit = static_cast<int>(BitsOf(packing)) - 1;
  const bool whole = scale == std::floor(scale) && std::abs(scale) < 1e6;
  const int right = whole ? sk_topBit - 7 - static_cast<int>(scale) : 0;
  const double factor = std::pow(2.0, 7.0 - (sk_topBit - scale));
  ForSampleBlocks(samples, samples * 3, [&](size_t first, size_t count) {
    alignas(64) uint8_t padded[SampleBytes(packing, sk_blockSamples)];
    alignas(64) SampleValue<packing> values[sk_blockSamples];
    ReadSamples<packing>(BlockBytes<packing>(pIn, inSize, first, count, padded), count, values);
    if (whole) {
      ScaleByShift(values, count, right, pOut + first);
    } else {
      ScaleByFactor(values, count, factor, pOut + first);
    }
  });
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
  const auto format = static_cast<PfncFormat_>(pSrc->GetPixelFormat());
  THROW_PLAIN(InvalidArgumentException,
              std::string("Bit selection attempted but unavailable on pixel format ") +
                  GetPixelFormatName(format));
}

}  // namespace Orvex
