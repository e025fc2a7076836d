// SPDX-License-Identifier: Apache-2.0
// Chunk adapters: one walk from the end of a buffer, told by a small layout class how a trailer
// reads.

#include <GenApi/ChunkAdapter.h>
#include <GenApi/ChunkAdapterDcam.h>
#include <GenApi/ChunkAdapterGEV.h>
#include <GenApi/ChunkAdapterGenDC.h>
#include <GenApi/ChunkAdapterGeneric.h>
#include <GenApi/ChunkAdapterU3V.h>

#include <Base/GCException.h>
#include <GenApi/INode.h>

#include "adapters/HexId.h"
#include "adapters/Limits.h"

namespace GENAPI_NAMESPACE {

namespace {

uint32_t LittleEndian32(const uint8_t* p) {
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

uint32_t BigEndian32(const uint8_t* p) {
  return uint32_t(p[3]) | uint32_t(p[2]) << 8 | uint32_t(p[1]) << 16 | uint32_t(p[0]) << 24;
}

// A trailer of id and length, both 32 bits.
template <uint32_t (*Number)(const uint8_t*)>
struct TaggedLayout {
  static constexpr int64_t sk_trailerBytes = 8;
  template <class Chunk>
  static bool Parse(const uint8_t* pTrailer, Chunk& chunk) {
    chunk = {Number(pTrailer), nullptr, 0, 0, Number(pTrailer + 4)};
    return true;
  }
};

// A trailer of a 16-byte id, a length and its complement.
struct DcamLayout {
  static constexpr int64_t sk_trailerBytes = 24;
  template <class Chunk>
  static bool Parse(const uint8_t* pTrailer, Chunk& chunk) {
    const uint32_t length = LittleEndian32(pTrailer + 16);
    chunk = {0, pTrailer, 16, 0, length};
    return length == ~LittleEndian32(pTrailer + 20);
  }
};

// Fills the list with the chunks of a buffer, last one first; false when the bytes are no chunks.
template <class Layout, class Chunk>
bool Walk(const uint8_t* pBuffer, int64_t bufferLength, std::vector<Chunk>& chunks) {
  chunks.clear();
  if (!pBuffer || bufferLength <= 0) return false;
  int64_t end = bufferLength;
  while (end > 0) {
    if (end < Layout::sk_trailerBytes || chunks.size() == OrvexGenApi::sk_maxChunksPerBuffer)
      return false;
    const int64_t trailer = end - Layout::sk_trailerBytes;
    Chunk chunk;
    if (!Layout::Parse(pBuffer + trailer, chunk) || chunk.Length > trailer) return false;
    end = trailer - chunk.Length;
    chunk.Offset = end;
    chunks.push_back(chunk);
  }
  return true;
}

}  // namespace

CChunkAdapter::CChunkAdapter(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : m_MaxChunkCacheSize(MaxChunkCacheSize) {
  if (pNodeMap) CChunkAdapter::AttachNodeMap(pNodeMap);
}

CChunkAdapter::~CChunkAdapter() = default;

void CChunkAdapter::AttachNodeMap(INodeMap* pNodeMap) {
  DetachNodeMap();
  if (!pNodeMap) throw INVALID_ARGUMENT_EXCEPTION("The node map is null");
  m_pNodeMap = pNodeMap;
  NodeList_t nodes;
  pNodeMap->GetNodes(nodes);
  for (INode* pNode : nodes) {
    if (pNode->GetPrincipalInterfaceType() != intfIPort) continue;
    auto pPort = std::make_unique<CChunkPort>();
    if (pPort->AttachPort(dynamic_cast<IPort*>(pNode))) m_Ports.push_back(std::move(pPort));
  }
}

void CChunkAdapter::DetachNodeMap() {
  m_Ports.clear();
  m_pNodeMap = nullptr;
}

void CChunkAdapter::DetachBuffer() {
  for (const auto& pPort : m_Ports) pPort->DetachChunk();
}

void CChunkAdapter::UpdateBuffer(uint8_t* pBaseAddress) {
  for (const auto& pPort : m_Ports) pPort->UpdateBuffer(pBaseAddress);
}

void CChunkAdapter::ClearCaches() {
  for (const auto& pPort : m_Ports) pPort->ClearCache();
}

void CChunkAdapter::AttachChunks(uint8_t* pBuffer, const std::vector<Chunk>& chunks,
                                 AttachStatistics_t* pAttachStatistics) {
  AttachStatistics_t statistics{int(m_Ports.size()), int(chunks.size()), 0};
  std::vector<bool> isAttached(chunks.size());
  for (const auto& pPort : m_Ports) {
    pPort->RefreshChunkID();
    const Chunk* pFound = nullptr;
    for (size_t i = 0; i < chunks.size() && !pFound; ++i) {
      const Chunk& chunk = chunks[i];
      if (chunk.pIdBytes ? pPort->CheckChunkID(const_cast<uint8_t*>(chunk.pIdBytes), chunk.IdLength)
                         : pPort->CheckChunkID(chunk.Id)) {
        pFound = &chunk;
        if (!isAttached[i]) ++statistics.NumAttachedChunks;
        isAttached[i] = true;
      }
    }
    if (pFound) {
      const bool fits = m_MaxChunkCacheSize < 0 || pFound->Length <= m_MaxChunkCacheSize;
      pPort->AttachChunk(pBuffer, pFound->Offset, pFound->Length, fits && pPort->WantsCache());
    } else {
      pPort->DetachChunk();
    }
  }
  if (pAttachStatistics) *pAttachStatistics = statistics;
}

void CChunkAdapter::RejectLayout() {
  DetachBuffer();
  // Kept on purpose: callers match this text.
  throw RUNTIME_EXCEPTION("Invalid layout of buffer attached to chunk parser!");
}

CChunkAdapterGEV::CChunkAdapterGEV(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : CChunkAdapter(pNodeMap, MaxChunkCacheSize) {}
CChunkAdapterGEV::~CChunkAdapterGEV() = default;

bool CChunkAdapterGEV::CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) {
  return Walk<TaggedLayout<BigEndian32>>(pBuffer, BufferLength, m_Chunks);
}

void CChunkAdapterGEV::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                                    AttachStatistics_t* pAttachStatistics) {
  if (!CheckBufferLayout(pBuffer, BufferLength)) RejectLayout();
  AttachChunks(pBuffer, m_Chunks, pAttachStatistics);
}

CChunkAdapterU3V::CChunkAdapterU3V(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : CChunkAdapter(pNodeMap, MaxChunkCacheSize) {}
CChunkAdapterU3V::~CChunkAdapterU3V() = default;

bool CChunkAdapterU3V::CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) {
  return Walk<TaggedLayout<LittleEndian32>>(pBuffer, BufferLength, m_Chunks);
}

void CChunkAdapterU3V::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                                    AttachStatistics_t* pAttachStatistics) {
  if (!CheckBufferLayout(pBuffer, BufferLength)) RejectLayout();
  AttachChunks(pBuffer, m_Chunks, pAttachStatistics);
}

CChunkAdapterGenDC::CChunkAdapterGenDC(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : CChunkAdapterU3V(pNodeMap, MaxChunkCacheSize) {}
CChunkAdapterGenDC::~CChunkAdapterGenDC() = default;

CChunkAdapterDcam::CChunkAdapterDcam(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : CChunkAdapter(pNodeMap, MaxChunkCacheSize) {}
CChunkAdapterDcam::~CChunkAdapterDcam() = default;

bool CChunkAdapterDcam::CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) {
  return Walk<DcamLayout>(pBuffer, BufferLength, m_Chunks);
}

void CChunkAdapterDcam::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                                     AttachStatistics_t* pAttachStatistics) {
  if (!CheckBufferLayout(pBuffer, BufferLength)) RejectLayout();
  AttachChunks(pBuffer, m_Chunks, pAttachStatistics);
}

bool CChunkAdapterDcam::HasCRC(uint8_t*, int64_t) {
  return false;
}

bool CChunkAdapterDcam::CheckCRC(uint8_t*, int64_t) {
  throw LOGICAL_ERROR_EXCEPTION("The buffer has no checksum chunk");
}

CChunkAdapterGeneric::CChunkAdapterGeneric(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : CChunkAdapter(pNodeMap, MaxChunkCacheSize) {}
CChunkAdapterGeneric::~CChunkAdapterGeneric() = default;

bool CChunkAdapterGeneric::CheckBufferLayout(uint8_t*, int64_t) {
  return false;
}

void CChunkAdapterGeneric::AttachBuffer(uint8_t*, int64_t, AttachStatistics_t*) {
  RejectLayout();
}

namespace {

template <class Entry>
void CheckList(const uint8_t* pBuffer, const Entry* pEntries, int64_t count) {
  if (count < 0 || (count > 0 && (!pBuffer || !pEntries))) {
    throw INVALID_ARGUMENT_EXCEPTION("A list of chunks needs a buffer and entries");
  }
  for (int64_t i = 0; i < count; ++i) {
    if (pEntries[i].ChunkOffset < 0 || pEntries[i].ChunkLength > size_t(INT64_MAX)) {
      throw INVALID_ARGUMENT_EXCEPTION("A chunk lies outside of its buffer");
    }
  }
}

}  // namespace

void CChunkAdapterGeneric::AttachBuffer(uint8_t* pBuffer, SingleChunkData_t* ChunkData,
                                        int64_t NumChunks, AttachStatistics_t* pAttachStatistics) {
  CheckList(pBuffer, ChunkData, NumChunks);
  m_Chunks.clear();
  for (int64_t i = 0; i < NumChunks; ++i) {
    m_Chunks.push_back({ChunkData[i].ChunkID, nullptr, 0, ChunkData[i].ChunkOffset,
                        int64_t(ChunkData[i].ChunkLength)});
  }
  AttachChunks(pBuffer, m_Chunks, pAttachStatistics);
}

void CChunkAdapterGeneric::AttachBuffer(uint8_t* pBuffer, SingleChunkDataStr_t* ChunkData,
                                        int64_t NumChunks, AttachStatistics_t* pAttachStatistics) {
  CheckList(pBuffer, ChunkData, NumChunks);
  m_Chunks.clear();
  std::vector<std::vector<uint8_t>> ids;
  ids.reserve(size_t(NumChunks));
  for (int64_t i = 0; i < NumChunks; ++i) {
    auto id = OrvexGenApi::ParseHexId(ChunkData[i].ChunkID);
    if (!id) {
      throw INVALID_ARGUMENT_EXCEPTION("'%s' is no hexadecimal chunk id",
                                       ChunkData[i].ChunkID.c_str());
    }
    ids.push_back(std::move(*id));
    m_Chunks.push_back({0, ids.back().data(), int(ids.back().size()), ChunkData[i].ChunkOffset,
                        int64_t(ChunkData[i].ChunkLength)});
  }
  AttachChunks(pBuffer, m_Chunks, pAttachStatistics);
  m_Chunks.clear();  // the ids go now
}

}  // namespace GENAPI_NAMESPACE
