#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// One frame of any kind, and the checksum of frames.

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
  BufferPayloadTypeImage = 1,               ///< Pixels: IImage.
  BufferPayloadTypeChunkData = 4,           ///< Chunks: IChunkData.
  BufferPayloadTypeCompressedImage = 1001,  ///< Compressed pixels: ICompressedImage.
  /// Compressed pixels and chunks: ICompressedImage and IChunkData.
  BufferPayloadTypeCompressedImageExtendedChunk = 1002,
  /// Pixels and chunks: IImage and IChunkData.
  BufferPayloadTypeImageExtendedChunk = 16385
};

/// One frame as an application sees it. A frame taken from a stream belongs to that stream and is
/// handed back with IDevice::RequeueBuffer; a frame made by the ImageFactory belongs to the caller
/// and is handed back with ImageFactory::Destroy or ImageFactory::DestroyCompressedImage. Nobody
/// deletes it.
///
/// Threads: a frame is not locked. One thread at a time may use it; different frames are
/// independent.
///
/// Every property of a frame from a stream is asked of the producer when it is first wanted and
/// kept from then on. Each getter therefore throws what a failing query throws:
/// GenICam::InvalidArgumentException "DataStream is null" or "Buffer is null" when the frame has
/// no stream or buffer behind it, otherwise the class of the producer's status. A property whose
/// query failed is 0 (or false) from then on.
class ORVEX_API IBuffer {
 public:
  /// @return First byte of the frame's data; GetSizeFilled bytes may be read. Valid until the frame
  /// is handed back.
  virtual const uint8_t* GetData() = 0;
  /// @return Bytes that were written into the buffer.
  virtual size_t GetSizeFilled() = 0;
  /// @return Bytes of data that the frame holds, in the producer's own account.
  virtual size_t GetPayloadSize() = 0;
  /// @return Bytes that the buffer can hold.
  virtual size_t GetSizeOfBuffer() = 0;
  /// @return Number of the frame in its stream; 0 for frames made in memory.
  virtual uint64_t GetFrameId() = 0;
  /// @return One of _EBufferPayloadType, or another number that the producer gives.
  virtual uint64_t GetPayloadType() = 0;
  /// @return Whether there are pixels in it.
  virtual bool HasImageData() = 0;
  /// @return Whether there are chunks in it.
  virtual bool HasChunkData() = 0;
  /// @return True for the payload types 1001 and 1002 only.
  virtual bool IsCompressedImage() = 0;
  /// @return The same frame as an image; null when it is none. Lives as long as this frame and is
  /// not handed back on its own.
  virtual IImage* AsImage() = 0;
  /// @return The same frame as chunk data; null when it is none. As AsImage.
  virtual IChunkData* AsChunkData() = 0;
  /// @return The same frame as a compressed image; null when it is none. As AsImage.
  virtual ICompressedImage* AsCompressedImage() = 0;
  /// @return True when parts of the frame are missing.
  virtual bool IsIncomplete() = 0;
  /// @return True when the frame was larger than the buffer and was cut off.
  virtual bool DataLargerThanBuffer() = 0;
  /// Compares the frame with the CRC-32 that the camera sent in its chunk "ChunkCRC". Nothing is
  /// kept: each call computes anew.
  /// @return Whether they match.
  /// @throws GenICam::LogicalErrorException when the frame carries no checksum or is incomplete.
  virtual bool VerifyCRC() = 0;
  virtual ~IBuffer() = default;
};

/// CRC-32 of bytes (polynomial 0x04C11DB7, reflected, initial value and final XOR 0xFFFFFFFF). Any
/// thread may call it.
/// @param pData First byte.
/// @param nBytes Number of bytes, at least 1.
/// @return The checksum in the low 32 bits.
/// @throws GenICam::InvalidArgumentException when pData is null or nBytes is 0.
ORVEX_API uint64_t CalculateCRC32(const uint8_t* pData, size_t nBytes);

}  // namespace Orvex
