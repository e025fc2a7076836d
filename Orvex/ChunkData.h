#pragma once
// SPDX-License-Identifier: Apache-2.0
// A frame with chunk data. It owns the chunk node map that it was given and, from the first
// chunk on, the adapter that lays the frame's chunks under that map. Not locked: one thread at a
// time.

#include "IChunkData.h"
#include "Orvex/Buffer.h"

namespace GENAPI_NAMESPACE {
class CChunkAdapterGEV;
struct INodeMap;
}  // namespace GENAPI_NAMESPACE

namespace Orvex {

class ChunkData : public IChunkData, public virtual Buffer {
 public:
  ChunkData();
  /// Takes over the node map; it is destroyed through its IDestroy.
  ChunkData(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer, GenApi::INodeMap* pChunkNodeMap);
  /// A detached copy with data of its own and without node map: its chunks cannot be read.
  explicit ChunkData(ChunkData* pChunkData);

  const uint8_t* GetData() override { return Buffer::GetData(); }
  size_t GetSizeFilled() override { return Buffer::GetSizeFilled(); }
  size_t GetPayloadSize() override { return Buffer::GetPayloadSize(); }
  size_t GetSizeOfBuffer() override { return Buffer::GetSizeOfBuffer(); }
  uint64_t GetFrameId() override { return Buffer::GetFrameId(); }
  uint64_t GetPayloadType() override { return Buffer::GetPayloadType(); }
  bool HasImageData() override { return Buffer::HasImageData(); }
  bool HasChunkData() override { return Buffer::HasChunkData(); }
  bool IsCompressedImage() override { return Buffer::IsCompressedImage(); }
  IImage* AsImage() override;
  IChunkData* AsChunkData() override;
  ICompressedImage* AsCompressedImage() override;
  bool IsIncomplete() override { return Buffer::IsIncomplete(); }
  bool DataLargerThanBuffer() override { return Buffer::DataLargerThanBuffer(); }
  /// Always throws LogicalErrorException: the extent of the checked data is not known.
  bool VerifyCRC() override;
  ~ChunkData() override;

  GenApi::INode* GetChunk(GenICam::gcstring name) override;

  /// Lays the chunks that end after `size` bytes under the chunk node map, unless some lie there
  /// or there is no map. Data without valid chunks stay as they are. GetChunk does so by itself
  /// with the filled size.
  void AttachChunks(size_t size);

 protected:
  GenApi::CChunkAdapterGEV* m_pChunkAdapter = nullptr;
  GenApi::INodeMap* m_pChunkNodeMap = nullptr;
};

}  // namespace Orvex
