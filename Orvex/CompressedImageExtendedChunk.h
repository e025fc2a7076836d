#pragma once
// SPDX-License-Identifier: Apache-2.0
// A frame with compressed pixels and chunk data. Both parts share one Buffer, so both views of the
// frame see the same data and the same answers. Not locked: one thread at a time.

#include "Orvex/ChunkData.h"
#include "Orvex/CompressedImage.h"

namespace Orvex {

class CompressedImageExtendedChunk : public virtual CompressedImage, public virtual ChunkData {
 public:
  CompressedImageExtendedChunk();
  /// Takes over the node map.
  CompressedImageExtendedChunk(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer,
                               GenApi::INodeMap* pChunkNodeMap);
  /// A detached copy with data of its own and without node map: its chunks cannot be read.
  explicit CompressedImageExtendedChunk(CompressedImageExtendedChunk* pImage);

  ~CompressedImageExtendedChunk() override;
  const uint8_t* GetData() override { return Buffer::GetData(); }
  size_t GetSizeFilled() override { return Buffer::GetSizeFilled(); }
  size_t GetPayloadSize() override { return Buffer::GetPayloadSize(); }
  size_t GetSizeOfBuffer() override { return Buffer::GetSizeOfBuffer(); }
  bool HasChunkData() override { return Buffer::HasChunkData(); }
  uint64_t GetPayloadType() override { return Buffer::GetPayloadType(); }
  bool IsIncomplete() override { return Buffer::IsIncomplete(); }
  uint64_t GetFrameId() override { return Buffer::GetFrameId(); }
  bool IsCompressedImage() override { return Buffer::IsCompressedImage(); }
  bool HasImageData() override { return Buffer::HasImageData(); }
  bool DataLargerThanBuffer() override { return Buffer::DataLargerThanBuffer(); }
  /// Checks the whole filled payload.
  bool VerifyCRC() override;
  ICompressedImage* AsCompressedImage() override;
  uint64_t GetPixelFormat() override { return CompressedImage::GetPixelFormat(); }
  uint64_t GetTimestamp() override { return CompressedImage::GetTimestamp(); }
  uint64_t GetTimestampNs() override { return CompressedImage::GetTimestampNs(); }
  IChunkData* AsChunkData() override;
  GenApi::INode* GetChunk(GenICam::gcstring name) override { return ChunkData::GetChunk(name); }
  IImage* AsImage() override;
};

}  // namespace Orvex
