// SPDX-License-Identifier: Apache-2.0
#include "Orvex/CompressedImage.h"

#include "Orvex/Check.h"
#include "Orvex/ChunkData.h"
#include "Orvex/Image.h"
#include "PixelFormat.h"

namespace Orvex {

CompressedImage::CompressedImage() = default;

CompressedImage::CompressedImage(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer)
    : Buffer(pStream, hBuffer) {}

CompressedImage::CompressedImage(CompressedImage* pImage)
    : Buffer(pImage),
      m_pPixelFormat(std::make_unique<uint64_t>(pImage->GetPixelFormat())),
      m_pTimestampNs(std::make_unique<uint64_t>(pImage->GetTimestampNs())) {}

CompressedImage::~CompressedImage() = default;

uint64_t CompressedImage::GetPixelFormat() {
  return Cached<uint64_t>(m_pPixelFormat, GenTL::BUFFER_INFO_PIXELFORMAT);
}

uint64_t CompressedImage::GetTimestampNs() {
  return Cached<uint64_t>(m_pTimestampNs, GenTL::BUFFER_INFO_TIMESTAMP_NS);
}

size_t CompressedImage::GetNumChannels() {
  return Orvex::GetNumChannels(GetPixelFormat());
}

IImage* CompressedImage::AsImage() {
  return dynamic_cast<Image*>(this);
}

IChunkData* CompressedImage::AsChunkData() {
  return dynamic_cast<ChunkData*>(this);
}

ICompressedImage* CompressedImage::AsCompressedImage() {
  return this;
}

bool CompressedImage::VerifyCRC() {
  THROW_PLAIN(LogicalErrorException, "Chunk data was not enabled before grabbing CompressedImage");
}

}  // namespace Orvex
