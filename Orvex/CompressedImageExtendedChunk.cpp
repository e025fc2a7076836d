// SPDX-License-Identifier: Apache-2.0
#include "Orvex/CompressedImageExtendedChunk.h"

#include <GenApi/GenApi.h>

#include "Orvex/Check.h"
#include "Orvex/Image.h"

namespace Orvex {

CompressedImageExtendedChunk::CompressedImageExtendedChunk() = default;

CompressedImageExtendedChunk::CompressedImageExtendedChunk(TLDataStream* pStream,
                                                           GenTL::BUFFER_HANDLE hBuffer,
                                                           GenApi::INodeMap* pChunkNodeMap)
    : Buffer(pStream, hBuffer),
      CompressedImage(pStream, hBuffer),
      ChunkData(pStream, hBuffer, pChunkNodeMap) {}

CompressedImageExtendedChunk::CompressedImageExtendedChunk(CompressedImageExtendedChunk* pImage)
    : Buffer(pImage), CompressedImage(pImage), ChunkData(pImage) {}

CompressedImageExtendedChunk::~CompressedImageExtendedChunk() = default;

IImage* CompressedImageExtendedChunk::AsImage() {
  return dynamic_cast<Image*>(this);
}

IChunkData* CompressedImageExtendedChunk::AsChunkData() {
  return static_cast<ChunkData*>(this);
}

ICompressedImage* CompressedImageExtendedChunk::AsCompressedImage() {
  return static_cast<CompressedImage*>(this);
}

bool CompressedImageExtendedChunk::VerifyCRC() {
  CHECK_ARG(!IsIncomplete(), LogicalErrorException, "Data received is incomplete");
  GenApi::CIntegerPtr pCRC = GetChunk("ChunkCRC");
  CHECK_ARG(GenApi::IsReadable(pCRC), LogicalErrorException, "Cannot read 'ChunkCRC'");
  const uint64_t expected = static_cast<uint64_t>(pCRC->GetValue());
  return CalculateCRC32(GetData(), GetSizeFilled()) == expected;
}

}  // namespace Orvex
