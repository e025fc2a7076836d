// SPDX-License-Identifier: Apache-2.0
#include "engine/Port.h"

#include <algorithm>
#include <cstring>

#include "engine/Builder.h"
#include "engine/NodeMap.h"
#include "engine/Registers.h"

namespace OrvexGenApi {
namespace {

template <class E>
[[noreturn]] void Rethrow(const E& e, const char* pType, const Node& user) {
  const std::string text = std::string("Node '") + user.Name() + "': " + e.GetDescription();
  throw E(text.c_str(), e.GetSourceFileName(), e.GetSourceLine(), "", user.Name(), pType);
}

// Runs an access to the application's port. What it throws goes on as what it is, with the node's
// name in its text.
template <class Access>
void Guarded(const Node& user, Access access) {
  using namespace GENICAM_NAMESPACE;
  try {
    access();
  } catch (const AccessException& e) {
    Rethrow(e, "AccessException", user);
  } catch (const OutOfRangeException& e) {
    Rethrow(e, "OutOfRangeException", user);
  } catch (const InvalidArgumentException& e) {
    Rethrow(e, "InvalidArgumentException", user);
  } catch (const PropertyException& e) {
    Rethrow(e, "PropertyException", user);
  } catch (const TimeoutException& e) {
    Rethrow(e, "TimeoutException", user);
  } catch (const LogicalErrorException& e) {
    Rethrow(e, "LogicalErrorException", user);
  } catch (const DynamicCastException& e) {
    Rethrow(e, "DynamicCastException", user);
  } catch (const BadAllocException& e) {
    Rethrow(e, "BadAllocException", user);
  } catch (const RuntimeException& e) {
    Rethrow(e, "RuntimeException", user);
  }
}

void SwapWords(uint8_t* pBytes, int64_t length) {
  for (int64_t i = 0; i + 4 <= length; i += 4) std::reverse(pBytes + i, pBytes + i + 4);
}

}  // namespace

bool PortNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::ChunkID:
      m_chunkId = builder.Text(element);
      return true;
    case Element::pChunkID:
      m_pChunkId = builder.Resolve(*this, element, id);
      return true;
    case Element::SwapEndianess:
      m_swap = builder.YesNo(element);
      return true;
    case Element::CacheChunkData:
      m_cacheChunk = builder.YesNo(element);
      return true;
    default:
      return Node::Take(id, element, builder);
  }
}

// A chunk comes and goes with the frames; any other port that nobody connects is simply not there.
EAccessMode PortNode::BaseAccess() const {
  if (m_pPort) return m_pPort->GetAccessMode();
  return m_pChunkId || !m_chunkId.empty() ? NA : NI;
}

void PortNode::SetPortImpl(IPort* pPort) {
  WriteScope scope(m_map);
  m_pPort = pPort;
  m_map.NodeInvalidated(*this);
  scope.Finish();
}

gcstring PortNode::GetChunkID() const {
  ReadScope scope(m_map);
  if (m_pChunkId == nullptr) return gcstring(m_chunkId.c_str());
  return gcstring(m_pChunkId->ReadText({}).c_str());
}

void PortNode::Read(void* pBuffer, int64_t Address, int64_t Length) {
  ReadScope scope(m_map);
  ReadBytes(*this, pBuffer, Address, Length);
}

void PortNode::Write(const void* pBuffer, int64_t Address, int64_t Length) {
  WriteScope scope(m_map);
  WriteBytes(*this, pBuffer, Address, Length);
  DropOverlapping(*this, Address, Length);
  scope.Finish();
}

void PortNode::ReadBytes(const Node& user, void* pBuffer, int64_t address, int64_t length) {
  if (m_pPort == nullptr) GENAPI_RAISE(AccessException, user, "port '%s' is not connected", Name());
  Guarded(user, [&] { m_pPort->Read(pBuffer, address, length); });
  if (m_swap) SwapWords(static_cast<uint8_t*>(pBuffer), length);
}

void PortNode::WriteBytes(const Node& user, const void* pBuffer, int64_t address, int64_t length) {
  std::vector<uint8_t> swapped;
  if (m_swap) {
    const auto* bytes = static_cast<const uint8_t*>(pBuffer);
    swapped.assign(bytes, bytes + length);
    SwapWords(swapped.data(), length);
    pBuffer = swapped.data();
  }
  if (m_pRecorder != nullptr) {
    m_pRecorder->Write(pBuffer, address, length);
    return;
  }
  if (m_pPort == nullptr) GENAPI_RAISE(AccessException, user, "port '%s' is not connected", Name());
  Guarded(user, [&] { m_pPort->Write(pBuffer, address, length); });
}

void PortNode::Replay(IPortWriteList* pPortRecorder, bool Invalidate) {
  WriteScope scope(m_map);
  if (m_pPort == nullptr) GENAPI_RAISE(AccessException, *this, "the port is not connected");
  Guarded(*this, [&] { pPortRecorder->Replay(m_pPort); });
  if (Invalidate) m_map.NodeInvalidated(*this);
  scope.Finish();
}

void PortNode::StartRecording(IPortWriteList* pPortRecorder) {
  ReadScope scope(m_map);
  m_pRecorder = pPortRecorder;
}

void PortNode::StopRecording() {
  ReadScope scope(m_map);
  m_pRecorder = nullptr;
}

// ---- overlapping registers ----

template <class Visit>
void PortNode::ForEachCell(int64_t address, int64_t length, Visit visit) {
  const uint64_t first = static_cast<uint64_t>(address) >> 3;
  const uint64_t last = (static_cast<uint64_t>(address) + static_cast<uint64_t>(length - 1)) >> 3;
  // Addresses run round, and so do cells.
  for (uint64_t cell = first;; cell = (cell + 1) & (UINT64_MAX >> 3)) {
    visit(static_cast<size_t>((cell ^ cell >> 8) % sk_buckets));
    if (cell == last) break;
  }
}

void PortNode::Unlist(RegisterCore& core) {
  if (core.listedLength <= 0) return;
  if (core.listedLength > 8 * sk_maxCells) {
    std::erase(m_long, &core);
  } else {
    ForEachCell(core.listedAddress, core.listedLength,
                [&](size_t bucket) { std::erase(m_cells[bucket], &core); });
  }
  core.listedLength = -1;
}

void PortNode::ListCached(RegisterCore& core) {
  const int64_t address = core.CachedAddress();
  const int64_t length = core.CachedLength();
  if (core.listedLength == length && core.listedAddress == address) return;
  Unlist(core);
  if (length <= 0) return;
  if (m_cells.empty()) m_cells.resize(sk_buckets);
  core.listedAddress = address;
  core.listedLength = length;
  if (length > 8 * sk_maxCells) {
    m_long.push_back(&core);
  } else {
    ForEachCell(address, length, [&](size_t bucket) { m_cells[bucket].push_back(&core); });
  }
}

void PortNode::DropOverlapping(Node& owner, int64_t address, int64_t length) {
  if (length <= 0) return;
  std::vector<RegisterCore*> hit;
  const auto check = [&](RegisterCore* core) {
    if (!core->IsCacheValid() || &core->Owner() == &owner) return;
    // Addresses run round, so the distance is taken without sign.
    const auto begin = static_cast<uint64_t>(core->CachedAddress());
    const auto at = static_cast<uint64_t>(address);
    if ((begin - at < static_cast<uint64_t>(length) ||
         at - begin < static_cast<uint64_t>(core->CachedLength())) &&
        std::find(hit.begin(), hit.end(), core) == hit.end()) {
      hit.push_back(core);
    }
  };
  if (!m_cells.empty() && length <= 8 * sk_maxCells) {
    ForEachCell(address, length, [&](size_t bucket) {
      for (RegisterCore* core : m_cells[bucket]) check(core);
    });
  } else {
    for (const auto& cell : m_cells) {
      for (RegisterCore* core : cell) check(core);
    }
  }
  for (RegisterCore* core : m_long) check(core);
  for (RegisterCore* core : hit) {
    core->Owner().DropValue();
    m_map.NodeChanged(core->Owner());
  }
}

}  // namespace OrvexGenApi
