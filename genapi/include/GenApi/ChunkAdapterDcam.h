#pragma once
// SPDX-License-Identifier: Apache-2.0
// Chunks as IIDC cameras send them: data, an id of 16 bytes, length and its bitwise complement,
// little-endian. Use as CChunkAdapter.

#include <GenApi/ChunkAdapter.h>

namespace GENAPI_NAMESPACE {

#ifndef GUID_DEFINED
#define GUID_DEFINED
typedef struct _GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
} GUID;
#endif

// What follows a chunk's data.
typedef struct _DCAM_CHUNK_TRAILER {
  GUID ChunkID;
  uint32_t ChunkLength;  // of the data alone, bytes
  uint32_t InverseChunkLength;
} DCAM_CHUNK_TRAILER;

class GENAPI_DECL CChunkAdapterDcam : public CChunkAdapter {
 public:
  explicit CChunkAdapterDcam(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);
  ~CChunkAdapterDcam() override;

  bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) override;
  void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                    AttachStatistics_t* pAttachStatistics = nullptr) override;
  // The id that marks a checksum chunk is the vendor's and not known here: there is never one.
  bool HasCRC(uint8_t* pBuffer, int64_t BufferLength);
  // LogicalErrorException when the buffer has no checksum.
  bool CheckCRC(uint8_t* pBuffer, int64_t BufferLength);
};

}  // namespace GENAPI_NAMESPACE
