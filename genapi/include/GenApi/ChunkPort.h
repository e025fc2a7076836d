#pragma once
// SPDX-License-Identifier: Apache-2.0
// The port over one chunk of a frame: stands behind a port node that has a chunk id. Owned by a
// chunk adapter; it must go before the node map does. Attaching takes the node map's lock; reads
// come from the node map, which holds it.

#include <vector>

#include <Base/GCString.h>
#include <GenApi/IPortConstruct.h>

namespace GENAPI_NAMESPACE {

struct INode;
struct IChunkPort;

class GENAPI_DECL CChunkPort : public IPortConstruct {
 public:
  // Puts itself behind the port node, if one is given.
  explicit CChunkPort(IPort* pPort = nullptr);
  CChunkPort(const CChunkPort&) = delete;
  CChunkPort& operator=(const CChunkPort&) = delete;
  ~CChunkPort() override;

  // RO while there is a chunk, NA otherwise.
  EAccessMode GetAccessMode() const override;
  EInterfaceType GetPrincipalInterfaceType() const { return intfIPort; }
  // Address 0 is the first byte of the chunk's data, -1 the last. Two pseudo registers of 8 bytes
  // in the processor's byte order: at INT64_MAX the address of the data in memory, at INT64_MAX -
  // 15 their length. Throws OutOfRangeException outside of the chunk, AccessException without one.
  void Read(void* pBuffer, int64_t Address, int64_t Length) override;
  // Chunks are read only: throws AccessException.
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
  // There is no port behind a chunk: ignored.
  void SetPortImpl(IPort* pPort) override;
  void SetPortImpl(IPortStacked* pPort);
  EYesNo GetSwapEndianess() override;
  // Drops the caches of everything behind the port node and fires the callbacks.
  void InvalidateNode();

  // False when the node is no port node or has no chunk id.
  bool AttachPort(IPort* pPort);
  void DetachPort();
  // The data are Length bytes at pBaseAddress + ChunkOffset. With Cache they are copied and stay
  // readable when the buffer is detached.
  void AttachChunk(uint8_t* pBaseAddress, int64_t ChunkOffset, int64_t Length, bool Cache);
  // Forgets the buffer, but keeps a cached copy.
  void DetachChunk();
  // The id's length in bytes.
  int GetChunkIDLength();
  // Compares with an id as it lies in the buffer, first byte first, or as a number.
  bool CheckChunkID(uint8_t* pChunkIDBuffer, int ChunkIDLength);
  bool CheckChunkID(uint64_t ChunkID);
  // The same layout in another buffer.
  void UpdateBuffer(uint8_t* pBaseAddress);
  // Forgets a cached copy.
  void ClearCache();

  // Whether the description wants the chunk's bytes to survive the buffer.
  bool WantsCache() const;
  // Reads the id anew; ids may come from a string node.
  void RefreshChunkID();

 private:
  const uint8_t* Data() const { return m_pBase ? m_pBase + m_offset : m_copy.data(); }

  INode* m_pNode = nullptr;
  IPortConstruct* m_pConstruct = nullptr;
  IChunkPort* m_pChunkPort = nullptr;
  std::vector<uint8_t> m_id;
  uint8_t* m_pBase = nullptr;  // null: detached, or served from m_copy
  int64_t m_offset = 0;
  int64_t m_length = 0;
  std::vector<uint8_t> m_copy;
  bool m_hasCopy = false;
  bool m_fixedId = true;
};

}  // namespace GENAPI_NAMESPACE
