#pragma once
// SPDX-License-Identifier: Apache-2.0
// Chunks whose places are known from elsewhere, such as a GenTL producer's list. Use as
// CChunkAdapter.

#include <GenApi/ChunkAdapter.h>

namespace GENAPI_NAMESPACE {

// One chunk: its id and its data's place in the buffer, in bytes.
typedef struct _SingleChunkData_t {
  uint64_t ChunkID;
  ptrdiff_t ChunkOffset;
  size_t ChunkLength;
} SingleChunkData_t;

// The same with an id in hexadecimal text, for ids of more than 8 bytes.
typedef struct _SingleChunkDataStr_t {
  GENICAM_NAMESPACE::gcstring ChunkID;
  ptrdiff_t ChunkOffset;
  size_t ChunkLength;
} SingleChunkDataStr_t;

class GENAPI_DECL CChunkAdapterGeneric : public CChunkAdapter {
 public:
  explicit CChunkAdapterGeneric(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);
  ~CChunkAdapterGeneric() override;

  // Bytes alone say nothing to this adapter: always false.
  bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) override;
  // Always refused, as bytes that are no chunks.
  void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                    AttachStatistics_t* pAttachStatistics = nullptr) override;
  // The chunks must lie within the buffer; that is for the caller to know. InvalidArgumentException
  // for null pointers and negative numbers.
  virtual void AttachBuffer(uint8_t* pBuffer, SingleChunkData_t* ChunkData, int64_t NumChunks,
                            AttachStatistics_t* pAttachStatistics = nullptr);
  virtual void AttachBuffer(uint8_t* pBuffer, SingleChunkDataStr_t* ChunkData, int64_t NumChunks,
                            AttachStatistics_t* pAttachStatistics = nullptr);
};

}  // namespace GENAPI_NAMESPACE
