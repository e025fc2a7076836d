// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ImageFactorySelectBits.h"

#include <cstring>
#include <string>

#include "Orvex/Check.h"
#include "Orvex/ImageFactoryPacking.h"
#include "Orvex/PixelFormatName.h"

namespace Orvex {

namespace {

struct SelectBitsRow {
  PfncFormat_ output = InvalidPixelFormat;
  // n / d samples a pixel; no format has 0.
  size_t n = 0;
  size_t d = 1;
};

namespace Members {

#define ORVEX_SELECT_BITS_RATIO(member, packing, n, d) \
  constexpr SelectBitsRow m##member{InvalidPixelFormat, n, d};
ORVEX_SELECT_BITS_MEMBERS(ORVEX_SELECT_BITS_RATIO)
#undef ORVEX_SELECT_BITS_RATIO

}  // namespace Members

// An output of InvalidPixelFormat says that the format is not among the rows.
SelectBitsRow RowOf(uint64_t pixelFormat) {
  switch (pixelFormat) {
#define ORVEX_SELECT_BITS_CASE(format, member, output, lut, layout) \
  case format:                                                      \
    return {output, Members::m##member.n, Members::m##member.d};
    ORVEX_SELECT_BITS_ROWS(ORVEX_SELECT_BITS_CASE)
#undef ORVEX_SELECT_BITS_CASE
    default:
      return {};
  }
}

template <Packing packing>
void KeepTopBits(IImage* pSrc, uint8_t* pOut, size_t samples) {
  const uint8_t* const pIn = pSrc->GetData();
  const size_t inSize = pSrc->GetSizeOfBuffer();
  ForSampleBlocks(samples, samples * 3, [=](size_t first, size_t count) {
    alignas(64) uint8_t padded[SampleBytes(packing, sk_blockSamples)];
    Primitives::FindDepthKernel(packing, Packing::U8)(
        BlockBytes<packing>(pIn, inSize, first, count, padded), pOut + first,
        static_cast<uint32_t>(count), 1);
  });
}

template <Packing packing>
void Select(IImage* pSrc, Image* pDst, size_t samples, unsigned lowestBit) {
  uint8_t* const pOut = FrameCells::WritableData(pDst);
  if constexpr (packing == Packing::U10p || packing == Packing::U12p) {
    // The top bits, which are asked for most, need no words in between.
    if (lowestBit + 8 == BitsOf(packing)) return KeepTopBits<packing>(pSrc, pOut, samples);
  }
  ForSamples<packing>(pSrc->GetData(), pSrc->GetSizeOfBuffer(), samples, samples * 3,
                      [=](const uint8_t* p, size_t first, size_t count) {
                        uint8_t* const pBlock = pOut + first;
                        if constexpr (packing == Packing::U8) {
                          std::memcpy(pBlock, p, count);  // there is no other choice of bits
                        } else if constexpr (packing != Packing::U24) {
                          SampleKernels::NarrowWords(p, count, lowestBit + ZeroBits(packing),
                                                     pBlock);
                        } else if (lowestBit % 8 == 0) {
                          SampleKernels::PickOfThree(p, count, lowestBit / 8, pBlock);
                        } else {
                          for (size_t i = 0; i < count; ++i) {
                            pBlock[i] = static_cast<uint8_t>(Load24(p + 3 * i) >> lowestBit);
                          }
                        }
                      });
}

}  // namespace

ImageFactorySelectBits::ImageFactorySelectBits(size_t numBits, int lowestBit)
    : m_numBits(numBits), m_lowestBit(lowestBit) {}

ImageFactorySelectBits::ImageFactorySelectBits(uint8_t* pBuffer, size_t bufferSize, size_t numBits,
                                               int lowestBit)
    : PixelFormatContractStandardImpl(pBuffer, bufferSize),
      m_numBits(numBits),
      m_lowestBit(lowestBit) {}

size_t ImageFactorySelectBits::Len(IImage* pSrc) {
  const SelectBitsRow row = RowOf(pSrc->GetPixelFormat());
  if (row.n == 0) implNone(pSrc, nullptr);
  return CheckedProduct(pSrc->GetWidth(), pSrc->GetHeight(), row.n) / row.d;
}

uint64_t ImageFactorySelectBits::PixelFormat(IImage* pSrc) {
  return RowOf(pSrc->GetPixelFormat()).output;
}

void ImageFactorySelectBits::CheckLowestBit(IImage* pSrc, unsigned sampleBits) const {
  const PfncFormat_ format = AsPixelFormat(pSrc->GetPixelFormat());
  CHECK_ARG(m_lowestBit >= 0 && static_cast<size_t>(m_lowestBit) + m_numBits <= sampleBits,
            InvalidArgumentException,
            "lowest bit " + std::to_string(m_lowestBit) + " not available for pixel format " +
                GetPixelFormatName(format));
}

#define ORVEX_SELECT_BITS_MEMBER(member, packing, n, d)                                    \
  void ImageFactorySelectBits::impl##member(IImage* pSrc, Image* pDst) {                   \
    CheckLowestBit(pSrc, BitsOf(Packing::packing));                                        \
    const size_t samples = CheckedProduct(pSrc->GetWidth(), pSrc->GetHeight(), n);         \
    Select<Packing::packing>(pSrc, pDst, samples / d, static_cast<unsigned>(m_lowestBit)); \
  }
ORVEX_SELECT_BITS_MEMBERS(ORVEX_SELECT_BITS_MEMBER)
#undef ORVEX_SELECT_BITS_MEMBER

}  // namespace Orvex
