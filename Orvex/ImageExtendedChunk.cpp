// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ImageExtendedChunk.h"

#include <GenApi/GenApi.h>

#include "Orvex/Check.h"
#include "Orvex/CompressedImage.h"
#include "Orvex/ImageFactoryInternal.h"

namespace Orvex {

ImageExtendedChunk::ImageExtendedChunk() = default;

ImageExtendedChunk::ImageExtendedChunk(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer,
                                       GenApi::INodeMap* pChunkNodeMap)
    : Buffer(pStream, hBuffer),
      Image(pStream, hBuffer),
      ChunkData(pStream, hBuffer, pChunkNodeMap) {}

ImageExtendedChunk::ImageExtendedChunk(ImageExtendedChunk* pImage)
    : Buffer(pImage), Image(pImage), ChunkData(pImage) {}

ImageExtendedChunk::~ImageExtendedChunk() = default;

IImage* ImageExtendedChunk::AsImage() {
  return static_cast<Image*>(this);
}

IChunkData* ImageExtendedChunk::AsChunkData() {
  return static_cast<ChunkData*>(this);
}

ICompressedImage* ImageExtendedChunk::AsCompressedImage() {
  return dynamic_cast<CompressedImage*>(this);
}

bool ImageExtendedChunk::VerifyCRC() {
  CHECK_ARG(!IsIncomplete(), LogicalErrorException, "Data received is incomplete");
  GenApi::CIntegerPtr pCRC = GetChunk("ChunkCRC");
  CHECK_ARG(GenApi::IsReadable(pCRC), LogicalErrorException, "Cannot read 'ChunkCRC'");
  const uint64_t expected = static_cast<uint64_t>(pCRC->GetValue());
  CheckImageData(this);
  // The pixels alone: neither chunks nor padding belong to the checksum.
  const size_t size = ImageBytes(GetWidth(), GetHeight(), GetPixelFormat());
  return CalculateCRC32(GetData(), size) == expected;
}

}  // namespace Orvex
