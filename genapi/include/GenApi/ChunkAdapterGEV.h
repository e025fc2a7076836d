#pragma once
// SPDX-License-Identifier: Apache-2.0
// Chunks as GigE Vision cameras send them: data, id and length, numbers in network byte order. Use
// as CChunkAdapter.

#include <GenApi/ChunkAdapter.h>

namespace GENAPI_NAMESPACE {

// What follows a chunk's data; both in network byte order.
typedef struct _GVCP_CHUNK_TRAILER {
  uint32_t ChunkID;
  uint32_t ChunkLength;  // of the data alone, bytes
} GVCP_CHUNK_TRAILER;

class GENAPI_DECL CChunkAdapterGEV : public CChunkAdapter {
 public:
  explicit CChunkAdapterGEV(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);
  ~CChunkAdapterGEV() override;

  bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) override;
  void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                    AttachStatistics_t* pAttachStatistics = nullptr) override;
};

}  // namespace GENAPI_NAMESPACE
