#pragma once
// SPDX-License-Identifier: Apache-2.0
// One frame as an application sees it. A frame taken from a stream belongs to that stream and is
// handed back with IDevice::RequeueBuffer; a frame made by the ImageFactory belongs to the caller
// and is handed back with ImageFactory::Destroy or DestroyCompressedImage. Nobody deletes it.
// A frame is not locked: only one thread at a time may use it; different frames are independent.

#include <cstddef>
#include <cstdint>

#include "OrvexExport.h"

namespace Orvex {

class IImage;
class IChunkData;
class ICompressedImage;

/// What a buffer carries. 1 and 4 are payload types of the GenTL standard, the others this
/// system's own.
enum _EBufferPayloadType : uint64_t {
  BufferPayloadTypeImage = 1,
  BufferPayloadTypeChunkData = 4,
  BufferPayloadTypeCompressedImage = 1001,
  BufferPayloadTypeCompressedImageExtendedChunk = 1002,
  BufferPayloadTypeImageExtendedChunk = 16385
};

/// Every property of a frame from a stream is asked of the producer when it is first wanted and
/// kept from then on. Each getter therefore throws what a failing query throws:
/// GenICam::InvalidArgumentException "DataStream is null" or "Buffer is null" when the frame has
/// no stream or buffer behind it, otherwise the exception of the producer's status.
class ORVEX_API IBuffer {
 public:
  /// First byte of the frame's data. Valid until the frame is handed back.
  virtual const uint8_t* GetData() = 0;
  /// Bytes that were written into the buffer.
  virtual size_t GetSizeFilled() = 0;
  /// Bytes of data that the frame holds, in the producer's own account.
  virtual size_t GetPayloadSize() = 0;
  /// Bytes that the buffer can hold.
  virtual size_t GetSizeOfBuffer() = 0;
  /// Number of the frame; 0 for frames made in memory.
  virtual uint64_t GetFrameId() = 0;
  /// One of _EBufferPayloadType, or another number that the producer gives.
  virtual uint64_t GetPayloadType() = 0;
  virtual bool HasImageData() = 0;
  virtual bool HasChunkData() = 0;
  /// True for the payload types 1001 and 1002 only.
  virtual bool IsCompressedImage() = 0;
  /// The same frame as an image, as chunk data, as a compressed image; null when it is none.
  /// The result lives as long as this frame and is not handed back on its own.
  virtual IImage* AsImage() = 0;
  virtual IChunkData* AsChunkData() = 0;
  virtual ICompressedImage* AsCompressedImage() = 0;
  /// True when parts of the frame are missing.
  virtual bool IsIncomplete() = 0;
  /// True when the frame was larger than the buffer and was cut off.
  virtual bool DataLargerThanBuffer() = 0;
  /// Compares the frame with the CRC-32 that the camera sent in its chunk "ChunkCRC"; true when
  /// they match. Nothing is kept: each call computes anew.
  /// @throws GenICam::LogicalErrorException when the frame carries no checksum or is incomplete.
  virtual bool VerifyCRC() = 0;
  virtual ~IBuffer() = default;
};

/// CRC-32 (polynomial 0x04C11DB7, reflected, initial value and final XOR 0xFFFFFFFF) of nBytes
/// bytes at pData, in the low 32 bits of the result. Any thread may call it.
/// @throws GenICam::InvalidArgumentException when pData is null or nBytes is 0.
ORVEX_API uint64_t CalculateCRC32(const uint8_t* pData, size_t nBytes);

}  // namespace Orvex
