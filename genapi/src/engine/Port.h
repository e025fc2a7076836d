#pragma once
// SPDX-License-Identifier: Apache-2.0
// The port node: passes register accesses on to the application's port and keeps overlapping
// registers coherent.
#include <GenApi/IChunkPort.h>
#include <GenApi/IPortConstruct.h>
#include <GenApi/IPortRecorder.h>

#include <array>
#include <vector>

#include "engine/Node.h"

namespace OrvexGenApi {

class RegisterCore;

class PortNode final : public Node, public IPortConstruct, public IPortRecorder, public IChunkPort {
 public:
  using Node::Node;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIPort; }
  EAccessMode GetAccessMode() const override { return Node::GetAccessMode(); }
  PortNode* AsPort() override { return this; }

  // IPort, IPortConstruct
  void Read(void* pBuffer, int64_t Address, int64_t Length) override;
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
  void SetPortImpl(IPort* pPort) override;
  EYesNo GetSwapEndianess() override { return m_swap ? Yes : No; }

  // IPortRecorder
  void Replay(IPortWriteList* pPortRecorder, bool Invalidate) override;
  void StartRecording(IPortWriteList* pPortRecorder) override;
  void StopRecording() override;

  // IChunkPort
  gcstring GetChunkID() const override;
  EYesNo CacheChunkData() const override { return m_cacheChunk ? Yes : No; }

  bool Take(Element id, pugi::xml_node element, Builder& builder) override;

  // ---- for registers; the lock is held ----
  // Failures keep their class and get the name of the register's node.
  void ReadBytes(const Node& user, void* pBuffer, int64_t address, int64_t length);
  void WriteBytes(const Node& user, const void* pBuffer, int64_t address, int64_t length);
  void ListCached(RegisterCore& core);
  void DropOverlapping(Node& owner, int64_t address, int64_t length);

 protected:
  EAccessMode BaseAccess() const override;

 private:
  // Cached registers by the 8-byte cells that they touch; long ones have a list of their own.
  static constexpr size_t sk_buckets = 256;
  static constexpr int64_t sk_maxCells = 4;
  template <class Visit>
  static void ForEachCell(int64_t address, int64_t length, Visit visit);
  void Unlist(RegisterCore& core);

  IPort* m_pPort = nullptr;
  IPortWriteList* m_pRecorder = nullptr;
  Node* m_pChunkId = nullptr;
  std::string m_chunkId;
  std::vector<std::vector<RegisterCore*>> m_cells;
  std::vector<RegisterCore*> m_long;
  bool m_swap = false;
  bool m_cacheChunk = false;
};

}  // namespace OrvexGenApi
