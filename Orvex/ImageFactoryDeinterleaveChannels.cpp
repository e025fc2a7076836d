// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ImageFactoryDeinterleaveChannels.h"

#include <Base/GCException.h>

#include <cstring>

#include "ImageFactory.h"
#include "Orvex/ImageFactoryPacking.h"
#include "PixelFormat.h"

namespace Orvex {

namespace {

struct DeinterleaveRow {
  PfncFormat_ output = InvalidPixelFormat;
  size_t channels = 0;
};

// No channels: the format is not among the rows.
DeinterleaveRow RowOf(uint64_t pixelFormat) {
  switch (pixelFormat) {
#define ORVEX_DEINTERLEAVE_CASE(format, member, channels, output) \
  case format:                                                    \
    return {output, channels};
    ORVEX_DEINTERLEAVE_ROWS(ORVEX_DEINTERLEAVE_CASE)
#undef ORVEX_DEINTERLEAVE_CASE
    default:
      return {};
  }
}

// Whether a pixel is one sample, so that the channels share the width of the image: dual and quad
// formats, unless their planes are separated.
bool SharesWidth(uint64_t pixelFormat) {
  const DeinterleaveRow row = RowOf(pixelFormat);
  return GetBitsPerPixel(pixelFormat) <= GetBitsPerPixel(row.output) && row.channels != 0;
}

// A block of samples as LSB-aligned values of one byte or one word each.
template <Packing packing, class Work>
void ForValues(const uint8_t* pData, size_t dataSize, size_t samples, Work&& work) {
  constexpr size_t sk_valueBytes = packing == Packing::U8 ? 1 : 2;
  ForSamples<packing>(pData, dataSize, samples, samples * (2 + sk_valueBytes),
                      [&](const uint8_t* p, size_t first, size_t count) {
                        if constexpr (packing == Packing::U8) {
                          work(p, first, count);
                        } else {
                          alignas(64) uint16_t words[sk_blockSamples];
                          std::memcpy(words, p, count * 2);
                          if constexpr (IsPacked(packing)) {
                            SampleKernels::ShiftWords(words, count, ZeroBits(packing));
                          }
                          work(words, first, count);
                        }
                      });
}

// Sample i belongs to channel i mod channels; each channel's samples go on from pOut + channel *
// plane. Positions are in samples.
template <Packing packing, size_t channels>
void Separate(const uint8_t* pData, size_t dataSize, size_t samples, uint8_t* pOut, size_t plane) {
  ForValues<packing>(pData, dataSize, samples,
                     [=](const auto* pValues, size_t first, size_t count) {
                       uint8_t* const pBlock = pOut + first / channels * sizeof *pValues;
                       if constexpr (sizeof *pValues == 1) {
                         SampleKernels::SeparateBytes(pValues, count, channels, pBlock, plane);
                       } else {
                         SampleKernels::SeparateWords(pValues, count, channels, pBlock, plane);
                       }
                     });
}

// Lines that do not divide: their last samples belong to no plane.
template <Packing packing, size_t channels>
void SeparateRagged(const uint8_t* pData, size_t dataSize, size_t width, size_t height,
                    uint8_t* pOut) {
  const size_t each = width / channels, plane = each * height;
  ForValues<packing>(
      pData, dataSize, width * height, [=](const auto* pValues, size_t first, size_t count) {
        constexpr size_t sk_size = sizeof *pValues;
        for (size_t i = 0; i < count; ++i) {
          const size_t x = (first + i) % width, y = (first + i) / width;
          if (x >= each * channels) continue;
          std::memcpy(pOut + (x % channels * plane + y * each + x / channels) * sk_size,
                      pValues + i, sk_size);
        }
      });
}

// Where the plane of a sensor begins in the output, in samples.
template <size_t channels>
size_t SensorOffset(IImage* pSrc, size_t sensor) {
  return sensor * (pSrc->GetWidth() / channels) * pSrc->GetHeight();
}
constexpr auto dualOffset = &SensorOffset<2>;
constexpr auto quadOffset = &SensorOffset<4>;

template <Packing packing, size_t channels>
void Deinterleave(IImage* pSrc, Image* pDst) {
  const size_t width = pSrc->GetWidth(), height = pSrc->GetHeight();
  uint8_t* const pOut = FrameCells::WritableData(pDst);
  if (!SharesWidth(pSrc->GetPixelFormat())) {
    Separate<packing, channels>(pSrc->GetData(), pSrc->GetSizeOfBuffer(),
                                CheckedProduct(width, height, channels), pOut, width * height);
  } else if (width % channels == 0) {
    Separate<packing, channels>(pSrc->GetData(), pSrc->GetSizeOfBuffer(), width * height, pOut,
                                (channels == 2 ? dualOffset : quadOffset)(pSrc, 1));
  } else {
    SeparateRagged<packing, channels>(pSrc->GetData(), pSrc->GetSizeOfBuffer(), width, height,
                                      pOut);
  }
}

}  // namespace

size_t ImageFactoryDeinterleaveChannels::Len(IImage* pSrc) {
  const DeinterleaveRow row = RowOf(pSrc->GetPixelFormat());
  if (row.channels == 0) implNone(pSrc, nullptr);
  return CheckedProduct(Width(pSrc), Height(pSrc), GetBitsPerPixel(row.output)) >> 3;
}

uint64_t ImageFactoryDeinterleaveChannels::PixelFormat(IImage* pSrc) {
  return RowOf(pSrc->GetPixelFormat()).output;
}

size_t ImageFactoryDeinterleaveChannels::Width(IImage* pSrc) {
  const uint64_t format = pSrc->GetPixelFormat();
  return SharesWidth(format) ? pSrc->GetWidth() / RowOf(format).channels : pSrc->GetWidth();
}

size_t ImageFactoryDeinterleaveChannels::Height(IImage* pSrc) {
  return CheckedProduct(pSrc->GetHeight(), RowOf(pSrc->GetPixelFormat()).channels, 1);
}

#define ORVEX_DEINTERLEAVE_IMPL(name, packing, channels)                         \
  void ImageFactoryDeinterleaveChannels::impl##name(IImage* pSrc, Image* pDst) { \
    Deinterleave<Packing::packing, channels>(pSrc, pDst);                        \
  }
ORVEX_DEINTERLEAVE_IMPL(PolarizedAngles8, U8, 4)
ORVEX_DEINTERLEAVE_IMPL(PolarizedAngles12p, U12p, 4)
ORVEX_DEINTERLEAVE_IMPL(PolarizedAngles16, U16, 4)
ORVEX_DEINTERLEAVE_IMPL(PolarizedDolp8, U8, 2)
ORVEX_DEINTERLEAVE_IMPL(PolarizedDolp12p, U12p, 2)
ORVEX_DEINTERLEAVE_IMPL(PolarizedDolp16, U16, 2)
ORVEX_DEINTERLEAVE_IMPL(Dual8, U8, 2)
ORVEX_DEINTERLEAVE_IMPL(Dual10p, U10p, 2)
ORVEX_DEINTERLEAVE_IMPL(Dual10Packed, U10Packed, 2)
ORVEX_DEINTERLEAVE_IMPL(Dual12p, U12p, 2)
ORVEX_DEINTERLEAVE_IMPL(Dual12Packed, U12Packed, 2)
ORVEX_DEINTERLEAVE_IMPL(Dual16, U16, 2)
ORVEX_DEINTERLEAVE_IMPL(Quad8, U8, 4)
ORVEX_DEINTERLEAVE_IMPL(Quad10p, U10p, 4)
ORVEX_DEINTERLEAVE_IMPL(Quad10Packed, U10Packed, 4)
ORVEX_DEINTERLEAVE_IMPL(Quad12p, U12p, 4)
ORVEX_DEINTERLEAVE_IMPL(Quad12Packed, U12Packed, 4)
ORVEX_DEINTERLEAVE_IMPL(Quad16, U16, 4)
#undef ORVEX_DEINTERLEAVE_IMPL

// Stokes parameters come as three or as four.
#define ORVEX_DEINTERLEAVE_STOKES(suffix, packing)                                                \
  void ImageFactoryDeinterleaveChannels::implPolarizedStokes##suffix(IImage* pSrc, Image* pDst) { \
    if (RowOf(pSrc->GetPixelFormat()).channels == 3) {                                            \
      Deinterleave<Packing::packing, 3>(pSrc, pDst);                                              \
    } else {                                                                                      \
      Deinterleave<Packing::packing, 4>(pSrc, pDst);                                              \
    }                                                                                             \
  }
ORVEX_DEINTERLEAVE_STOKES(8, U8)
ORVEX_DEINTERLEAVE_STOKES(12p, U12p)
ORVEX_DEINTERLEAVE_STOKES(16, U16)
#undef ORVEX_DEINTERLEAVE_STOKES

std::vector<IImage*> ImageFactoryDeinterleaveChannels::createUnpackedImages(IImage* pPlanes,
                                                                            size_t channels) {
  const size_t width = pPlanes->GetWidth(), height = pPlanes->GetHeight() / channels;
  const uint64_t format = pPlanes->GetPixelFormat();
  const size_t size = ImageBytes(width, height, format);
  std::vector<IImage*> images;
  images.reserve(channels);
  try {
    for (size_t i = 0; i < channels; ++i) {
      images.push_back(
          ImageFactory::Create(pPlanes->GetData() + i * size, size, width, height, format));
    }
  } catch (...) {
    destroyUnpackedImages(images);
    throw;
  }
  return images;
}

void ImageFactoryDeinterleaveChannels::destroyUnpackedImages(
    std::span<IImage* const> images) noexcept {
  for (IImage* pImage : images) {
    try {
      ImageFactory::Destroy(pImage);
    } catch (const GenICam::GenericException&) {
      // The system was closed meanwhile; the image is lost, nothing else.
    }
  }
}

void ImageFactoryDeinterleaveChannels::implSeparated(IImage* pSrc, Image* pDst) {
  std::memcpy(FrameCells::WritableData(pDst), pSrc->GetData(), Len(pSrc));
}

}  // namespace Orvex
