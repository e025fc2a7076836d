#pragma once
// SPDX-License-Identifier: Apache-2.0
// Chunks inside a GenDC metadata part: laid out as those of USB3 Vision. Use as CChunkAdapter.

#include <GenApi/ChunkAdapterU3V.h>

namespace GENAPI_NAMESPACE {

// What follows a chunk's data; both little-endian.
typedef struct _GENDC_CHUNK_TRAILER {
  uint32_t ChunkID;
  uint32_t ChunkLength;  // of the data alone, bytes
} GENDC_CHUNK_TRAILER;

class GENAPI_DECL CChunkAdapterGenDC : public CChunkAdapterU3V {
 public:
  explicit CChunkAdapterGenDC(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);
  ~CChunkAdapterGenDC() override;
};

}  // namespace GENAPI_NAMESPACE
