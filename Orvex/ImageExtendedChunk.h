#pragma once
// SPDX-License-Identifier: Apache-2.0
// A frame with pixels and chunk data. Both parts share one Buffer, so both views of the frame see
// the same data and the same answers. Not locked: one thread at a time.

#include "Orvex/ChunkData.h"
#include "Orvex/Image.h"

namespace Orvex {

class ImageExtendedChunk : public virtual Image, public virtual ChunkData {
 public:
  ImageExtendedChunk();
  /// Takes over the node map.
  ImageExtendedChunk(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer,
                     GenApi::INodeMap* pChunkNodeMap);
  /// A detached copy with data of its own and without node map: its chunks cannot be read.
  explicit ImageExtendedChunk(ImageExtendedChunk* pImage);

  ~ImageExtendedChunk() override;
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
  /// Checks width x height x bits per pixel / 8 bytes, without chunks and padding.
  bool VerifyCRC() override;
  ICompressedImage* AsCompressedImage() override;
  size_t GetWidth() override { return Image::GetWidth(); }
  size_t GetHeight() override { return Image::GetHeight(); }
  size_t GetOffsetX() override { return Image::GetOffsetX(); }
  size_t GetOffsetY() override { return Image::GetOffsetY(); }
  uint64_t GetPixelFormat() override { return Image::GetPixelFormat(); }
  uint64_t GetTimestamp() override { return Image::GetTimestamp(); }
  uint64_t GetTimestampNs() override { return Image::GetTimestampNs(); }
  size_t GetPaddingX() override { return Image::GetPaddingX(); }
  size_t GetPaddingY() override { return Image::GetPaddingY(); }
  _EPixelEndianness GetPixelEndianness() override { return Image::GetPixelEndianness(); }
  IChunkData* AsChunkData() override;
  GenApi::INode* GetChunk(GenICam::gcstring name) override { return ChunkData::GetChunk(name); }
  IImage* AsImage() override;
};

}  // namespace Orvex
