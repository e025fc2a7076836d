// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ProcessSoftwareLUTImpl.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <string>

#include "Orvex/Check.h"
#include "Orvex/ImageFactoryInternal.h"
#include "Orvex/ImageFactoryPacking.h"
#include "Orvex/PixelFormatName.h"

namespace Orvex {

namespace {

// Which table each sample of a repeating group uses.
using ChannelPattern = std::span<const uint8_t>;

constexpr uint8_t sk_inOrder[] = {0, 1, 2, 3};
constexpr uint8_t sk_lumaFirst411[] = {0, 0, 1, 0, 0, 2};    // Y Y Cb Y Y Cr
constexpr uint8_t sk_chromaFirst411[] = {1, 0, 0, 2, 0, 0};  // Cb Y Y Cr Y Y
constexpr uint8_t sk_lumaFirst422[] = {0, 1, 0, 2};          // Y Cb Y Cr
constexpr uint8_t sk_chromaFirst422[] = {1, 0, 2, 0};        // Cb Y Cr Y

enum class Channels { One, Two, Three, Four, Chroma411, Chroma422 };

ChannelPattern PatternOf(Channels channels, uint64_t pixelFormat) {
  const bool lumaFirst =
      pixelFormat == YCbCr411_8 || pixelFormat == YCbCr422_8 || pixelFormat == YUV422_8;
  switch (channels) {
    case Channels::Chroma411:
      return lumaFirst ? sk_lumaFirst411 : sk_chromaFirst411;
    case Channels::Chroma422:
      return lumaFirst ? sk_lumaFirst422 : sk_chromaFirst422;
    default:
      return ChannelPattern(sk_inOrder).first(static_cast<size_t>(channels) + 1);
  }
}

// The bytes of one entry.
constexpr size_t EntryBytes(Packing packing) {
  return packing == Packing::U8 ? 1 : packing == Packing::U24 ? 3 : 2;
}

// Which table sample i uses: the one of the pattern's place i mod its length.
template <class Treat>
void ForEachTable(const uint8_t* pTables, size_t tableBytes, ChannelPattern pattern, size_t count,
                  Treat&& treat) {
  const size_t step = pattern.size();
  for (size_t k = 0; k < step; ++k) {
    const uint8_t* const pTable = pTables + tableBytes * pattern[k];
    for (size_t i = k; i < count; i += step) treat(i, pTable);
  }
}

// A block of samples. `size` is what may be written at pOut: the last sample may be cut off.
template <Packing packing>
void LookUp(const uint8_t* pTables, ChannelPattern pattern, const uint8_t* pUnpacked, size_t count,
            uint8_t* pOut, size_t size) {
  constexpr size_t sk_tableBytes = EntryBytes(packing) << BitsOf(packing);
  if constexpr (packing == Packing::U8) {
    if (pattern.size() == 1) {
      SampleKernels::LookUpBytes(pUnpacked, count, pTables, pOut);
    } else {
      SampleKernels::LookUpBytesInPattern(pUnpacked, count, pTables, pattern.data(), pattern.size(),
                                          pOut);
    }
  } else {
    alignas(64) uint8_t results[SampleBytes(Unpacked(packing), sk_blockSamples)];
    if constexpr (packing == Packing::U24) {
      ForEachTable(pTables, sk_tableBytes, pattern, count, [&](size_t i, const uint8_t* pTable) {
        Store24(results + 3 * i, Load24(pTable + size_t{3} * Load24(pUnpacked + 3 * i)));
      });
    } else {
      // Unpacked words may hold more than their significant bits; the table ends with those. The
      // entry of a packed format has no room for more.
      constexpr uint32_t sk_mask = (uint32_t{1} << BitsOf(packing)) - 1;
      ForEachTable(pTables, sk_tableBytes, pattern, count, [&](size_t i, const uint8_t* pTable) {
        const uint32_t sample = LoadWord(pUnpacked + 2 * i) >> ZeroBits(packing) & sk_mask;
        const auto entry =
            static_cast<uint16_t>(LoadWord(pTable + 2 * sample) << ZeroBits(packing));
        std::memcpy(results + 2 * i, &entry, sizeof entry);
      });
    }
    if constexpr (!IsPacked(packing)) {
      std::memcpy(pOut, results, size);
    } else {
      alignas(64) uint8_t packed[SampleBytes(packing, sk_blockSamples)];
      PackBlock<packing>(reinterpret_cast<const uint16_t*>(results), count, packed);
      std::memcpy(pOut, packed, size);
    }
  }
}

// The output image, still without data: what the input says of itself, as a plain image.
std::unique_ptr<Image> PrepareImage(IImage* pSrc) {
  auto pImage = std::make_unique<Image>();
  FrameCells::FillImageProps(pSrc, pImage.get(), pSrc->GetPixelFormat(), nullptr, 0,
                             pSrc->GetWidth(), pSrc->GetHeight());
  FrameCells::SetSizes(pImage.get(), pSrc->GetSizeFilled(), pSrc->GetPayloadSize(),
                       pSrc->GetSizeOfBuffer());
  FrameCells::SetIncomplete(pImage.get(), pSrc->IsIncomplete());
  return pImage;
}

// Samples in `size` bytes; one that is cut off at the end counts.
size_t SamplesIn(Packing packing, size_t size) {
  const Primitives::Group group = Primitives::GroupOf(packing);
  const size_t rest = size % group.bytes;
  return size / group.bytes * group.samples +
         (rest * group.samples + group.bytes - 1) / group.bytes;
}

template <Packing packing>
IImage* ProcessSoftwareLUT(IImage* pSrc, const uint8_t* pTables, bool shared, Channels channels) {
  auto pImage = PrepareImage(pSrc);
  const uint8_t* const pIn = pSrc->GetData();
  const size_t filled = pSrc->GetSizeFilled(), capacity = pSrc->GetSizeOfBuffer();
  const size_t readable = std::min(filled, capacity);
  auto data = AllocateBytes(std::max(filled, capacity));
  uint8_t* const pOut = data.get();
  std::fill(pOut + readable, pOut + std::max(filled, capacity), uint8_t{0});

  const ChannelPattern pattern =
      shared ? ChannelPattern(sk_inOrder).first(1) : PatternOf(channels, pSrc->GetPixelFormat());
  const size_t samples = SamplesIn(packing, readable);
  ForSamples<packing>(pIn, readable, samples, readable * 2,
                      [&](const uint8_t* p, size_t first, size_t count) {
                        const size_t offset = SampleOffset(packing, first);
                        LookUp<packing>(pTables, pattern, p, count, pOut + offset,
                                        std::min(SampleBytes(packing, count), readable - offset));
                      });
  FrameCells::SetData(pImage.get(), data.release());
  return pImage.release();
}

}  // namespace

#define ORVEX_LUT_MEMBER(member, packing, channels, shared, each, message)                       \
  IImage* ProcessSoftwareLUTImpl::ProcessSoftwareLUT_##member(IImage* pSrc, const uint8_t* pLut, \
                                                              size_t lutLength) {                \
    CHECK_ARG(lutLength == shared || (each != 0 && lutLength == each), InvalidArgumentException, \
              std::string(message) + std::to_string(lutLength) + " input)");                     \
    CHECK_ARG(pLut, InvalidArgumentException, "LUT is null");                                    \
    return ProcessSoftwareLUT<Packing::packing>(pSrc, pLut, lutLength == shared,                 \
                                                Channels::channels);                             \
  }
ORVEX_LUT_MEMBERS(ORVEX_LUT_MEMBER)
#undef ORVEX_LUT_MEMBER

IImage* ProcessSoftwareLUTImpl::ProcessSoftwareLUT_NoImpl(IImage* pSrc, const uint8_t*, size_t) {
  // Without an image there is no format to name.
  CHECK_ARG(pSrc, InvalidArgumentException, "Process software LUT not available");
  const PfncFormat_ format = AsPixelFormat(pSrc->GetPixelFormat());
  THROW_PLAIN(InvalidArgumentException,
              std::string("Process software LUT attempted but unavailable on pixel format ") +
                  GetPixelFormatName(format));
}

}  // namespace Orvex
