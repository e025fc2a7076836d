#pragma once
// SPDX-License-Identifier: Apache-2.0
// A frame with pixels, from a stream (owned by it until it is requeued) or made by the
// ImageFactory (owned by the caller). Not locked: one thread at a time.

#include "IImage.h"
#include "Orvex/Buffer.h"

namespace Orvex {

class Image : public IImage, public virtual Buffer {
 public:
  Image();
  Image(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer);
  /// A detached copy with data of its own.
  explicit Image(Image* pImage);

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
  ~Image() override;

  size_t GetWidth() override;
  size_t GetHeight() override;
  size_t GetOffsetX() override;
  size_t GetOffsetY() override;
  size_t GetPaddingX() override;
  size_t GetPaddingY() override;
  uint64_t GetPixelFormat() override;
  size_t GetBitsPerPixel() override;
  _EPixelEndianness GetPixelEndianness() override;
  uint64_t GetTimestamp() override { return GetTimestampNs(); }
  uint64_t GetTimestampNs() override;

  /// Layout facts of the pixel format, see PixelFormat.h.
  virtual size_t GetNumChannels();
  virtual size_t GetBitsPerChannel();
  virtual size_t GetBytesPerStep();
  virtual size_t GetPixelsPerStep();

 protected:
  friend struct FrameCells;

  std::unique_ptr<uint64_t> m_pWidth;
  std::unique_ptr<uint64_t> m_pHeight;
  std::unique_ptr<uint64_t> m_pOffsetX;
  std::unique_ptr<uint64_t> m_pOffsetY;
  std::unique_ptr<uint64_t> m_pPixelFormat;
  std::unique_ptr<uint64_t> m_pPaddingX;
  std::unique_ptr<uint64_t> m_pPaddingY;
  std::unique_ptr<int32_t> m_pPixelEndianness;
  std::unique_ptr<uint64_t> m_pTimestampNs;
};

}  // namespace Orvex
