// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ChunkData.h"

#include <GenApi/ChunkAdapterGEV.h>
#include <GenApi/GenApi.h>

#include <cstring>
#include <memory>

#include "Orvex/Check.h"
#include "Orvex/CompressedImage.h"
#include "Orvex/Image.h"

namespace Orvex {

namespace {

// The parser's own words for a payload without valid chunks.
constexpr const char* sk_invalidLayout = "Invalid layout of buffer attached to chunk parser!";

}  // namespace

ChunkData::ChunkData() = default;

ChunkData::ChunkData(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer,
                     GenApi::INodeMap* pChunkNodeMap)
    : Buffer(pStream, hBuffer), m_pChunkNodeMap(pChunkNodeMap) {}

ChunkData::ChunkData(ChunkData* pChunkData) : Buffer(pChunkData) {}

ChunkData::~ChunkData() {
  try {
    if (m_pChunkAdapter) {
      m_pChunkAdapter->DetachNodeMap();
      delete m_pChunkAdapter;
    }
    if (GenApi::IDestroy* pDestroy = GenApi::CastToIDestroy(m_pChunkNodeMap)) pDestroy->Destroy();
  } catch (...) {
    // Nothing leaves a destructor.
  }
}

IImage* ChunkData::AsImage() {
  return dynamic_cast<Image*>(this);
}

IChunkData* ChunkData::AsChunkData() {
  return this;
}

ICompressedImage* ChunkData::AsCompressedImage() {
  return dynamic_cast<CompressedImage*>(this);
}

bool ChunkData::VerifyCRC() {
  THROW_PLAIN(LogicalErrorException, "Validating CRC for ChunkData is not supported");
}

void ChunkData::AttachChunks(size_t size) {
  if (!m_pChunkNodeMap || m_pChunkAdapter) return;
  auto pAdapter = std::make_unique<GenApi::CChunkAdapterGEV>(m_pChunkNodeMap);
  try {
    // The adapter takes the data as writable, for chunks that are registers; nobody writes here.
    pAdapter->AttachBuffer(const_cast<uint8_t*>(GetData()), static_cast<int64_t>(size));
  } catch (const GenICam::RuntimeException& e) {
    if (std::strstr(e.GetDescription(), sk_invalidLayout)) return;
    throw;
  }
  m_pChunkAdapter = pAdapter.release();
}

GenApi::INode* ChunkData::GetChunk(GenICam::gcstring name) {
  if (!m_pChunkNodeMap) return nullptr;  // a copy: its chunks stayed with the original
  if (!m_pChunkAdapter) AttachChunks(GetSizeFilled());
  return m_pChunkAdapter ? m_pChunkNodeMap->GetNode(name) : nullptr;
}

}  // namespace Orvex
