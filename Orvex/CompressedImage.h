#pragma once
// SPDX-License-Identifier: Apache-2.0
// A frame whose pixels are compressed, from a stream or made by the ImageFactory. Not locked: one
// thread at a time.

#include "ICompressedImage.h"
#include "Orvex/Buffer.h"

namespace Orvex {

class CompressedImage : public ICompressedImage, public virtual Buffer {
 public:
  CompressedImage();
  CompressedImage(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer);
  /// A detached copy with data of its own.
  explicit CompressedImage(CompressedImage* pImage);

  const uint8_t* GetData() override { return Buffer::GetData(); }
  size_t GetSizeFilled() override { return Buffer::GetSizeFilled(); }
  size_t GetPayloadSize() override { return Buffer::GetPayloadSize(); }
  size_t GetSizeOfBuffer() override { return Buffer::GetSizeOfBuffer(); }
  uint64_t GetFrameId() override { return Buffer::GetFrameId(); }
  uint64_t GetPayloadType() override { return Buffer::GetPayloadType(); }
  bool HasImageData() override { return Buffer::HasImageData(); }
  bool HasChunkData() override { return Buffer::HasChunkData(); }
  bool IsCompressedImage() override { return Buffer::IsCompressedImage(); }
  IImage* AsImage() override;
  IChunkData* AsChunkData() override;
  ICompressedImage* AsCompressedImage() override;
  bool IsIncomplete() override { return Buffer::IsIncomplete(); }
  bool DataLargerThanBuffer() override { return Buffer::DataLargerThanBuffer(); }
  /// Always throws LogicalErrorException: a frame without chunks carries no checksum.
  bool VerifyCRC() override;
  ~CompressedImage() override;

  uint64_t GetPixelFormat() override;
  uint64_t GetTimestamp() override { return GetTimestampNs(); }
  uint64_t GetTimestampNs() override;

  /// Components of a pixel, see PixelFormat.h.
  virtual size_t GetNumChannels();

 protected:
  friend struct FrameCells;

  std::unique_ptr<uint64_t> m_pPixelFormat;
  std::unique_ptr<uint64_t> m_pTimestampNs;
};

}  // namespace Orvex
