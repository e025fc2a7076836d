// SPDX-License-Identifier: Apache-2.0
#include "Orvex/Buffer.h"

#include <boost/crc.hpp>
#include <cstring>

#include "Orvex/Check.h"
#include "Orvex/ChunkData.h"
#include "Orvex/CompressedImage.h"
#include "Orvex/Image.h"
#include "Orvex/ImageFactoryInternal.h"
#include "Orvex/TLDataStream.h"

namespace Orvex {

Buffer::Buffer() = default;

Buffer::Buffer(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer)
    : m_pStream(pStream), m_hBuffer(hBuffer) {}

Buffer::Buffer(Buffer* pBuffer) {
  m_pSizeFilled = std::make_unique<size_t>(pBuffer->GetSizeFilled());
  m_pPayloadSize = std::make_unique<size_t>(pBuffer->GetPayloadSize());
  m_pSizeOfBuffer = std::make_unique<size_t>(pBuffer->GetSizeOfBuffer());
  auto data = AllocateZeroedBytes(*m_pSizeOfBuffer);
  std::memcpy(data.get(), pBuffer->GetData(), *m_pSizeOfBuffer);
  m_pHasChunkData = std::make_unique<bool>(pBuffer->HasChunkData());
  m_pPayloadType = std::make_unique<uint64_t>(pBuffer->GetPayloadType());
  m_pIsIncomplete = std::make_unique<bool>(pBuffer->IsIncomplete());
  m_pFrameId = std::make_unique<uint64_t>(pBuffer->GetFrameId());
  m_pHasImageData = std::make_unique<bool>(pBuffer->HasImageData());
  m_pDataLargerThanBuffer = std::make_unique<bool>(pBuffer->DataLargerThanBuffer());
  m_pData = data.release();
}

Buffer::~Buffer() {
  m_pStream = nullptr;
  m_hBuffer = nullptr;
}

const uint8_t* Buffer::GetData() {
  if (!m_pData) m_pData = static_cast<const uint8_t*>(Ask<void*>(GenTL::BUFFER_INFO_BASE));
  return m_pData;
}

size_t Buffer::GetSizeFilled() {
  return Cached<size_t>(m_pSizeFilled, GenTL::BUFFER_INFO_SIZE_FILLED);
}

// Kept on purpose: the size of the data, not the producer's payload size.
size_t Buffer::GetPayloadSize() {
  return Cached<size_t>(m_pPayloadSize, GenTL::BUFFER_INFO_DATA_SIZE);
}

size_t Buffer::GetSizeOfBuffer() {
  return Cached<size_t>(m_pSizeOfBuffer, GenTL::BUFFER_INFO_SIZE);
}

uint64_t Buffer::GetFrameId() {
  return Cached<uint64_t>(m_pFrameId, GenTL::BUFFER_INFO_FRAMEID);
}

uint64_t Buffer::GetPayloadType() {
  return Cached<size_t>(m_pPayloadType, GenTL::BUFFER_INFO_PAYLOADTYPE);
}

bool Buffer::HasImageData() {
  return Cached<uint8_t>(m_pHasImageData, GenTL::BUFFER_INFO_IMAGEPRESENT);
}

bool Buffer::HasChunkData() {
  return Cached<uint8_t>(m_pHasChunkData, GenTL::BUFFER_INFO_CONTAINS_CHUNKDATA);
}

bool Buffer::IsIncomplete() {
  return Cached<uint8_t>(m_pIsIncomplete, GenTL::BUFFER_INFO_IS_INCOMPLETE);
}

bool Buffer::DataLargerThanBuffer() {
  return Cached<uint8_t>(m_pDataLargerThanBuffer, GenTL::BUFFER_INFO_DATA_LARGER_THAN_BUFFER);
}

bool Buffer::IsCompressedImage() {
  const uint64_t type = GetPayloadType();
  return type == BufferPayloadTypeCompressedImage ||
         type == BufferPayloadTypeCompressedImageExtendedChunk;
}

IImage* Buffer::AsImage() {
  return dynamic_cast<Image*>(this);
}

IChunkData* Buffer::AsChunkData() {
  return dynamic_cast<ChunkData*>(this);
}

ICompressedImage* Buffer::AsCompressedImage() {
  return dynamic_cast<CompressedImage*>(this);
}

bool Buffer::VerifyCRC() {
  THROW_PLAIN(LogicalErrorException, "CRC not available.");
}

GenTL::BUFFER_HANDLE Buffer::GetBufferHandle() {
  return m_hBuffer;
}

void Buffer::QueryInfo(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer,
                       GenTL::BUFFER_INFO_CMD command, void* pValue, size_t size) {
  constexpr const char* sk_function = "GetInfo";
  CHECK_ARG_FN(pStream, InvalidArgumentException, "DataStream is null", sk_function);
  CHECK_ARG_FN(hBuffer, InvalidArgumentException, "Buffer is null", sk_function);
  GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
  CHECK_GENTL_FN(pStream->GetBufferInfo(hBuffer, command, &type, pValue, &size),
                 "Unable to get buffer information", "DSGetBufferInfo", sk_function);
}

uint64_t CalculateCRC32(const uint8_t* pData, size_t nBytes) {
  CHECK_ARG(pData, InvalidArgumentException, "pData is nullptr.");
  CHECK_ARG(nBytes > 0, InvalidArgumentException, "nBytes must be > 0.");
  boost::crc_optimal<32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF, true, true> crc;
  crc.process_bytes(pData, nBytes);
  return crc.checksum();
}

}  // namespace Orvex
