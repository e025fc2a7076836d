#pragma once
// SPDX-License-Identifier: Apache-2.0
// Finds the chunks of a frame and makes their data readable through the port nodes of a node map.
// Owned by the application; the node map must outlive it or be detached first, and the attached
// buffer must stay in place until the next attach, DetachBuffer or the adapter's end. One thread at
// a time; readers of the node map may be others.

#include <cstddef>
#include <memory>
#include <vector>

#include <Base/GCString.h>
#include <GenApi/ChunkPort.h>
#include <GenApi/INodeMap.h>

namespace GENAPI_NAMESPACE {

// What an attach found: port nodes with a chunk id, chunks in the buffer, chunks that have a port
// node.
typedef struct _AttachStatistics_t {
  int NumChunkPorts;
  int NumChunks;
  int NumAttachedChunks;
} AttachStatistics_t;

class GENAPI_DECL CChunkAdapter {
 public:
  CChunkAdapter(const CChunkAdapter&) = delete;
  CChunkAdapter& operator=(const CChunkAdapter&) = delete;
  virtual ~CChunkAdapter();

  // Finds the port nodes that have a chunk id; replaces a map that was attached.
  virtual void AttachNodeMap(INodeMap* pNodeMap);
  virtual void DetachNodeMap();
  // Whether the bytes are chunks from end to begin. Never throws.
  virtual bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) = 0;
  // Attaches the chunks found; ports whose chunk is missing are detached. RuntimeException with
  // "Invalid layout of buffer attached to chunk parser!" when the bytes are no chunks; then nothing
  // is attached.
  virtual void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                            AttachStatistics_t* pAttachStatistics = nullptr) = 0;
  virtual void DetachBuffer();
  // The same layout in another buffer.
  virtual void UpdateBuffer(uint8_t* pBaseAddress);
  // Forgets copies of chunks that outlived their buffer.
  virtual void ClearCaches();

 protected:
  // MaxChunkCacheSize: chunks with more bytes than this are never copied; -1 is no limit.
  explicit CChunkAdapter(INodeMap* pNodeMap, int64_t MaxChunkCacheSize);

  // One chunk found in a buffer.
  struct Chunk {
    uint64_t Id;
    const uint8_t* pIdBytes;  // set for ids that are compared as bytes
    int IdLength;
    int64_t Offset;
    int64_t Length;
  };
  void AttachChunks(uint8_t* pBuffer, const std::vector<Chunk>& chunks,
                    AttachStatistics_t* pAttachStatistics);
  [[noreturn]] void RejectLayout();

  INodeMap* m_pNodeMap = nullptr;
  int64_t m_MaxChunkCacheSize;
  std::vector<std::unique_ptr<CChunkPort>> m_Ports;
  std::vector<Chunk> m_Chunks;  // kept to spare an allocation a frame
};

}  // namespace GENAPI_NAMESPACE
