// SPDX-License-Identifier: Apache-2.0
// The port over one chunk of a frame.

#include <GenApi/ChunkPort.h>

#include <cstring>

#include <Base/GCException.h>
#include <GenApi/IChunkPort.h>
#include <GenApi/INode.h>
#include <GenApi/INodeMap.h>

#include "adapters/HexId.h"

namespace GENAPI_NAMESPACE {

namespace {

constexpr int64_t sk_addressRegister = INT64_MAX;
constexpr int64_t sk_lengthRegister = INT64_MAX - 15;

}  // namespace

CChunkPort::CChunkPort(IPort* pPort) {
  if (pPort) AttachPort(pPort);
}

CChunkPort::~CChunkPort() {
  try {
    DetachPort();
  } catch (...) {
    // A callback threw. Destructors let nothing out.
  }
}

EAccessMode CChunkPort::GetAccessMode() const {
  return m_pBase || m_hasCopy ? RO : NA;
}

void CChunkPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
  if (!m_pBase && !m_hasCopy) throw ACCESS_EXCEPTION("There is no chunk to read from");
  if (Address == sk_addressRegister || Address == sk_lengthRegister) {
    const int64_t value =
        Address == sk_lengthRegister ? m_length : reinterpret_cast<int64_t>(Data());
    if (Length != int64_t(sizeof value)) {
      throw INVALID_ARGUMENT_EXCEPTION(
          "The place and the length of a chunk are registers of 8 bytes");
    }
    std::memcpy(pBuffer, &value, sizeof value);
    return;
  }
  // Negative addresses count from the back. Neither sum can overflow: m_length is not negative.
  const int64_t begin = Address < 0 ? m_length + Address : Address;
  if (Length < 0 || begin < 0 || begin > m_length || Length > m_length - begin) {
    throw OUT_OF_RANGE_EXCEPTION("%lld bytes at address %lld are outside of a chunk of %lld bytes",
                                 static_cast<long long>(Length), static_cast<long long>(Address),
                                 static_cast<long long>(m_length));
  }
  if (Length > 0) std::memcpy(pBuffer, Data() + begin, size_t(Length));
}

void CChunkPort::Write(const void*, int64_t, int64_t) {
  throw ACCESS_EXCEPTION("Chunk data are read only");
}

void CChunkPort::SetPortImpl(IPort*) {}
void CChunkPort::SetPortImpl(IPortStacked*) {}
EYesNo CChunkPort::GetSwapEndianess() {
  return No;
}

void CChunkPort::InvalidateNode() {
  if (m_pNode) m_pNode->InvalidateNode();
}

bool CChunkPort::AttachPort(IPort* pPort) {
  DetachPort();
  auto* pChunkPort = dynamic_cast<IChunkPort*>(pPort);
  auto* pNode = dynamic_cast<INode*>(pPort);
  auto* pConstruct = dynamic_cast<IPortConstruct*>(pPort);
  if (!pChunkPort || !pNode || !pConstruct) return false;
  GENICAM_NAMESPACE::gcstring text;
  GENICAM_NAMESPACE::gcstring attribute;
  const bool fixed = !pNode->GetProperty("pChunkID", text, attribute);
  if (fixed && !OrvexGenApi::ParseHexId(pChunkPort->GetChunkID())) return false;
  m_pNode = pNode;
  m_pConstruct = pConstruct;
  m_pChunkPort = pChunkPort;
  m_fixedId = false;
  RefreshChunkID();
  m_fixedId = fixed;
  m_pConstruct->SetPortImpl(this);
  InvalidateNode();
  return true;
}

void CChunkPort::DetachPort() {
  if (!m_pNode) return;
  DetachChunk();
  ClearCache();
  m_pConstruct->SetPortImpl(nullptr);
  INode* const pNode = m_pNode;
  m_pNode = nullptr;
  m_pConstruct = nullptr;
  m_pChunkPort = nullptr;
  m_id.clear();
  pNode->InvalidateNode();
}

void CChunkPort::AttachChunk(uint8_t* pBaseAddress, int64_t ChunkOffset, int64_t Length,
                             bool Cache) {
  if (!pBaseAddress || ChunkOffset < 0 || Length < 0) {
    throw INVALID_ARGUMENT_EXCEPTION(
        "A chunk needs a buffer, an offset and a length of at least 0");
  }
  if (!m_pNode) return;
  {
    const AutoLock lock(m_pNode->GetNodeMap()->GetLock());
    m_pBase = pBaseAddress;
    m_offset = ChunkOffset;
    m_length = Length;
    m_hasCopy = Cache;
    m_copy.clear();
    if (Cache) m_copy.assign(pBaseAddress + ChunkOffset, pBaseAddress + ChunkOffset + Length);
  }
  InvalidateNode();
}

void CChunkPort::DetachChunk() {
  if (!m_pNode || !m_pBase) return;
  {
    const AutoLock lock(m_pNode->GetNodeMap()->GetLock());
    m_pBase = nullptr;
    if (!m_hasCopy) m_length = 0;
  }
  InvalidateNode();
}

int CChunkPort::GetChunkIDLength() {
  return int(m_id.size());
}

bool CChunkPort::CheckChunkID(uint8_t* pChunkIDBuffer, int ChunkIDLength) {
  return ChunkIDLength > 0 && OrvexGenApi::SameId(m_id, pChunkIDBuffer, size_t(ChunkIDLength));
}

bool CChunkPort::CheckChunkID(uint64_t ChunkID) {
  return OrvexGenApi::SameId(m_id, ChunkID);
}

void CChunkPort::UpdateBuffer(uint8_t* pBaseAddress) {
  if (m_pNode && m_pBase) AttachChunk(pBaseAddress, m_offset, m_length, m_hasCopy);
}

void CChunkPort::ClearCache() {
  if (!m_pNode || !m_hasCopy) return;
  {
    const AutoLock lock(m_pNode->GetNodeMap()->GetLock());
    m_hasCopy = false;
    m_copy = {};
    if (!m_pBase) m_length = 0;
  }
  InvalidateNode();
}

bool CChunkPort::WantsCache() const {
  return m_pChunkPort && m_pChunkPort->CacheChunkData() == Yes;
}

void CChunkPort::RefreshChunkID() {
  if (m_fixedId || !m_pChunkPort) return;
  m_id.clear();
  try {
    if (auto id = OrvexGenApi::ParseHexId(m_pChunkPort->GetChunkID())) m_id = std::move(*id);
  } catch (const GENICAM_NAMESPACE::GenericException&) {
    // The node that holds the id cannot be read at the moment: no chunk is this port's.
  }
}

}  // namespace GENAPI_NAMESPACE
