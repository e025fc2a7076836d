#pragma once
// SPDX-License-Identifier: Apache-2.0
// The part of a frame that all kinds of frames share. A frame of a stream wraps one announced
// buffer: it asks the producer about it once, when first asked itself, and keeps the answer. A
// frame made in memory has its answers filled in by its maker (FrameCells) and has no stream.
// Not locked: one thread at a time.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "IBuffer.h"
#include "gentl/GenTL.h"

namespace Orvex {

class TLDataStream;

class Buffer : public IBuffer {
 public:
  Buffer();
  /// Neither the stream nor the buffer behind the handle is owned.
  Buffer(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer);
  /// A copy without stream and handle, with data of its own: the whole buffer, not only what is
  /// filled. The data stay when the object goes; ImageFactory frees them.
  explicit Buffer(Buffer* pBuffer);
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  const uint8_t* GetData() override;
  size_t GetSizeFilled() override;
  size_t GetPayloadSize() override;
  size_t GetSizeOfBuffer() override;
  uint64_t GetFrameId() override;
  uint64_t GetPayloadType() override;
  bool HasImageData() override;
  bool HasChunkData() override;
  bool IsCompressedImage() override;
  IImage* AsImage() override;
  IChunkData* AsChunkData() override;
  ICompressedImage* AsCompressedImage() override;
  bool IsIncomplete() override;
  bool DataLargerThanBuffer() override;
  bool VerifyCRC() override;
  ~Buffer() override;

  /// The GenTL handle to requeue; null for frames made in memory.
  virtual GenTL::BUFFER_HANDLE GetBufferHandle();

 protected:
  friend struct FrameCells;

  /// Asks the producer for one fact about the buffer. sizeof(T) must be that of the fact.
  template <typename T>
  T Ask(GenTL::BUFFER_INFO_CMD command) {
    T value{};
    QueryInfo(m_pStream, m_hBuffer, command, &value, sizeof value);
    return value;
  }

  /// The value in the cell, which is filled when it is still null. The cell stays behind, zeroed,
  /// when the query throws, so the same question is never asked twice.
  template <typename Raw, typename T>
  T Cached(std::unique_ptr<T>& cell, GenTL::BUFFER_INFO_CMD command) {
    if (!cell) {
      cell = std::make_unique<T>();
      *cell = static_cast<T>(Ask<Raw>(command));
    }
    return *cell;
  }

  TLDataStream* m_pStream = nullptr;
  GenTL::BUFFER_HANDLE m_hBuffer = nullptr;
  const uint8_t* m_pData = nullptr;
  std::unique_ptr<size_t> m_pSizeFilled;
  std::unique_ptr<size_t> m_pPayloadSize;
  std::unique_ptr<size_t> m_pSizeOfBuffer;
  std::unique_ptr<bool> m_pHasChunkData;
  std::unique_ptr<uint64_t> m_pPayloadType;
  std::unique_ptr<bool> m_pIsIncomplete;
  std::unique_ptr<uint64_t> m_pFrameId;
  std::unique_ptr<bool> m_pHasImageData;
  std::unique_ptr<bool> m_pDataLargerThanBuffer;
  /// The data belong to the caller of the factory, who frees them.
  bool m_bufferIsUserProvided = false;

 private:
  static void QueryInfo(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer,
                        GenTL::BUFFER_INFO_CMD command, void* pValue, size_t size);
};

}  // namespace Orvex
