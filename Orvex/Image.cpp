// SPDX-License-Identifier: Apache-2.0
#include "Orvex/Image.h"

#include "Orvex/Check.h"
#include "Orvex/ChunkData.h"
#include "Orvex/CompressedImage.h"
#include "PixelFormat.h"

namespace Orvex {

Image::Image() = default;

Image::Image(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer) : Buffer(pStream, hBuffer) {}

Image::Image(Image* pImage)
    : Buffer(pImage),
      m_pWidth(std::make_unique<uint64_t>(pImage->GetWidth())),
      m_pHeight(std::make_unique<uint64_t>(pImage->GetHeight())),
      m_pOffsetX(std::make_unique<uint64_t>(pImage->GetOffsetX())),
      m_pOffsetY(std::make_unique<uint64_t>(pImage->GetOffsetY())),
      m_pPixelFormat(std::make_unique<uint64_t>(pImage->GetPixelFormat())),
      m_pPaddingX(std::make_unique<uint64_t>(pImage->GetPaddingX())),
      m_pPaddingY(std::make_unique<uint64_t>(pImage->GetPaddingY())),
      m_pPixelEndianness(std::make_unique<int32_t>(pImage->GetPixelEndianness())),
      m_pTimestampNs(std::make_unique<uint64_t>(pImage->GetTimestampNs())) {}

Image::~Image() = default;

size_t Image::GetWidth() {
  return Cached<size_t>(m_pWidth, GenTL::BUFFER_INFO_WIDTH);
}

size_t Image::GetHeight() {
  return Cached<size_t>(m_pHeight, GenTL::BUFFER_INFO_HEIGHT);
}

size_t Image::GetOffsetX() {
  return Cached<size_t>(m_pOffsetX, GenTL::BUFFER_INFO_XOFFSET);
}

size_t Image::GetOffsetY() {
  return Cached<size_t>(m_pOffsetY, GenTL::BUFFER_INFO_YOFFSET);
}

size_t Image::GetPaddingX() {
  return Cached<size_t>(m_pPaddingX, GenTL::BUFFER_INFO_XPADDING);
}

size_t Image::GetPaddingY() {
  return Cached<size_t>(m_pPaddingY, GenTL::BUFFER_INFO_YPADDING);
}

uint64_t Image::GetPixelFormat() {
  return Cached<uint64_t>(m_pPixelFormat, GenTL::BUFFER_INFO_PIXELFORMAT);
}

_EPixelEndianness Image::GetPixelEndianness() {
  return static_cast<_EPixelEndianness>(
      Cached<int32_t>(m_pPixelEndianness, GenTL::BUFFER_INFO_PIXEL_ENDIANNESS));
}

uint64_t Image::GetTimestampNs() {
  return Cached<uint64_t>(m_pTimestampNs, GenTL::BUFFER_INFO_TIMESTAMP_NS);
}

size_t Image::GetBitsPerPixel() {
  return Orvex::GetBitsPerPixel(GetPixelFormat());
}

size_t Image::GetNumChannels() {
  return Orvex::GetNumChannels(GetPixelFormat());
}

size_t Image::GetBitsPerChannel() {
  return Orvex::GetBitsPerChannel(GetPixelFormat());
}

size_t Image::GetBytesPerStep() {
  return Orvex::GetBytesPerStep(GetPixelFormat());
}

size_t Image::GetPixelsPerStep() {
  return Orvex::GetPixelsPerStep(GetPixelFormat());
}

IImage* Image::AsImage() {
  return this;
}

IChunkData* Image::AsChunkData() {
  return dynamic_cast<ChunkData*>(this);
}

ICompressedImage* Image::AsCompressedImage() {
  return dynamic_cast<CompressedImage*>(this);
}

bool Image::VerifyCRC() {
  THROW_PLAIN(LogicalErrorException, "Chunk data was not enabled before grabbing Image");
}

}  // namespace Orvex
