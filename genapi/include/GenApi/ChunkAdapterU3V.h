#pragma once
// SPDX-License-Identifier: Apache-2.0
// Chunks as USB3 Vision cameras send them: data, id and length, numbers in little-endian byte
// order. Use as CChunkAdapter.

#include <GenApi/ChunkAdapter.h>

namespace GENAPI_NAMESPACE {

// What follows a chunk's data; both little-endian.
typedef struct _U3V_CHUNK_TRAILER {
  uint32_t ChunkID;
  uint32_t ChunkLength;  // of the data alone, bytes
} U3V_CHUNK_TRAILER;

class GENAPI_DECL CChunkAdapterU3V : public CChunkAdapter {
 public:
  explicit CChunkAdapterU3V(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);
  ~CChunkAdapterU3V() override;

  bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) override;
  void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                    AttachStatistics_t* pAttachStatistics = nullptr) override;
};

}  // namespace GENAPI_NAMESPACE
