// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ProcessSoftwareLUTImpl.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <string>

#include "Orvex/Check.h"
#include "Orvex/ImageFactoryInternal.h"
#include "Orvex/PixelFormatName.h"
#include "Orvex/Samples.h"

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

template <Packing packing>
SampleValue<packing> Entry(const uint8_t* pTable, uint32_t sample) {
  if constexpr (packing == Packing::U8) {
    return pTable[sample];
  } else if constexpr (packing == Packing::U24) {
    const uint8_t* const pEntry = pTable + size_t{3} * sample;
    return uint32_t{pEntry[0]} | uint32_t{pEntry[1]} << 8 | uint32_t{pEntry[2]} << 16;
  } else {
    uint16_t entry;
    std::memcpy(&entry, pTable + size_t{2} * sample, sizeof entry);
    return entry;
  }
}

template <Packing packing>
void LookUp(const uint8_t* pTables, size_t tableBytes, ChannelPattern pattern,
            SampleValue<packing>* pValues, size_t count) {
  // Unpacked words may hold more than their significant bits; the table ends with those. An entry
  // of a packed format has no room for more.
  constexpr uint32_t sk_mask = (uint32_t{1} << BitsOf(packing)) - 1;
  constexpr uint32_t sk_entryMask = IsPacked(packing) ? sk_mask : ~uint32_t{0};
  const size_t step = pattern.size();
  for (size_t k = 0; k < step; ++k) {
    const uint8_t* const pTable = pTables + tableBytes * pattern[k];
    for (size_t i = k; i < count; i += step) {
      const uint32_t entry = Entry<packing>(pTable, pValues[i] & sk_mask);
      pValues[i] = static_cast<SampleValue<packing>>(entry & sk_entryMask);
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

  constexpr size_t sk_tableBytes = EntryBytes(packing) << BitsOf(packing);
  const ChannelPattern pattern =
      shared ? ChannelPattern(sk_inOrder).first(1) : PatternOf(channels, pSrc->GetPixelFormat());
  const size_t samples = SamplesIn(packing, readable);
  ForSampleBlocks(samples, readable * 2, [&](size_t first, size_t count) {
    const size_t offset = SampleOffset(packing, first);
    if (packing == Packing::U8 && pattern.size() == 1) {
      for (size_t i = 0; i < count; ++i) pOut[offset + i] = pTables[pIn[offset + i]];
      return;
    }
    alignas(64) uint8_t raw[SampleBytes(packing, sk_blockSamples)];
    alignas(64) SampleValue<packing> values[sk_blockSamples];
    UnpackBlock<packing>(BlockBytes<packing>(pIn, readable, first, count, raw), count, values);
    LookUp<packing>(pTables, sk_tableBytes, pattern, values, count);
    const size_t size = SampleBytes(packing, count);
    if (offset + size <= readable) {
      PackBlock<packing>(values, count, pOut + offset);
    } else {
      PackBlock<packing>(values, count, raw);
      std::copy_n(raw, readable - offset, pOut + offset);
    }
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
  const auto format = static_cast<PfncFormat_>(pSrc->GetPixelFormat());
  THROW_PLAIN(InvalidArgumentException,
              std::string("Process software LUT attempted but unavailable on pixel format ") +
                  GetPixelFormatName(format));
}

}  // namespace Orvex
