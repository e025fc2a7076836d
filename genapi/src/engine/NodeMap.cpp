// SPDX-License-Identifier: Apache-2.0
#include "engine/NodeMap.h"

#include <GenApi/GenApiVersion.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "engine/Builder.h"
#include "engine/Kinds.h"
#include "engine/Limits.h"

namespace OrvexGenApi {

NodeMap::NodeMap(CLock* pUserLock)
    : m_pLock(pUserLock ? pUserLock : &m_ownLock), m_maxReadDepth(sk_maxReadDepth) {}

NodeMap::~NodeMap() {
  ClearAllNodes();
}

void NodeMap::ClearAllNodes() {
  ReadScope scope(*this);
  m_byName.Clear();
  m_links.clear();
  m_linkBegin.clear();
  m_dependents.clear();
  m_dependentBegin.clear();
  m_pollers.clear();
  m_selectors.clear();
  m_changed.clear();
  for (Node* node : m_nodes) delete node;
  m_nodes.clear();
  m_memory.Clear();
  m_numCallbacks = 0;
  m_document.reset();
}

void NodeMap::Load(std::shared_ptr<const Document> document, const gcstring& deviceName,
                   bool suppressStrings) {
  ReadScope scope(*this);
  ClearAllNodes();
  m_document = std::move(document);
  m_deviceName = deviceName.c_str();
  m_suppressStrings = suppressStrings;
  try {
    Builder(*this, *m_document).Build();
  } catch (...) {
    ClearAllNodes();
    throw;
  }
}

// ---- look-up ----

Node* NodeMap::Find(std::string_view name) const {
  const uint32_t index = m_byName.Find(name);
  return index == NameTable::sk_none ? nullptr : m_nodes[index];
}

INode* NodeMap::GetNode(const gcstring& Name) const {
  ReadScope scope(*this);
  std::string_view name = Name.c_str();
  bool qualified = false;
  ENameSpace wanted = Custom;
  if (name.starts_with("Std::")) {
    name.remove_prefix(5);
    qualified = true;
    wanted = Standard;
  } else if (name.starts_with("Cust::")) {
    name.remove_prefix(6);
    qualified = true;
  }
  Node* node = Find(name);
  if (node == nullptr) node = Find("EnumEntry_" + std::string(name));
  if (node != nullptr && qualified && node->GetNameSpace() != wanted) return nullptr;
  return node;
}

void NodeMap::GetNodes(NodeList_t& Nodes) const {
  ReadScope scope(*this);
  Nodes.reserve(Nodes.size() + m_nodes.size());
  for (Node* node : m_nodes) Nodes.push_back(node);
}

gcstring NodeMap::GetDeviceName() {
  return gcstring(m_deviceName.c_str());
}

PortNode* NodeMap::FindPort(const gcstring& name) const {
  Node* node = Find(name.c_str());
  return node ? node->AsPort() : nullptr;
}

bool NodeMap::Connect(IPort* pPort, const gcstring& PortName) const {
  auto& self = const_cast<NodeMap&>(*this);
  WriteScope scope(self);
  PortNode* port = FindPort(PortName);
  if (port == nullptr) return false;
  port->SetPortImpl(pPort);
  scope.Finish();
  return true;
}
bool NodeMap::Connect(IPort* pPort) const {
  return Connect(pPort, "Device");
}
bool NodeMap::Connect(IPortStacked* pPort, const gcstring& PortName) {
  return Connect(static_cast<IPort*>(pPort), PortName);
}
bool NodeMap::Connect(IPortStacked* pPort) {
  return Connect(static_cast<IPort*>(pPort), "Device");
}

// ---- description ----

gcstring NodeMap::Attribute(const char* pName) const {
  ReadScope scope(*this);
  return m_document ? gcstring(m_document->Root().attribute(pName).value()) : gcstring();
}
uint16_t NodeMap::VersionPart(const char* pName) const {
  return m_document ? static_cast<uint16_t>(m_document->Root().attribute(pName).as_uint()) : 0;
}
void NodeMap::GetGenApiVersion(Version_t& Version, uint16_t& Build) {
  Version.Major = GENAPI_VERSION_MAJOR;
  Version.Minor = GENAPI_VERSION_MINOR;
  Version.SubMinor = GENAPI_VERSION_SUBMINOR;
  Build = GENAPI_VERSION_BUILD;
}
void NodeMap::GetSchemaVersion(Version_t& Version) {
  Version.Major = VersionPart("SchemaMajorVersion");
  Version.Minor = VersionPart("SchemaMinorVersion");
  Version.SubMinor = VersionPart("SchemaSubMinorVersion");
}
void NodeMap::GetDeviceVersion(Version_t& Version) {
  Version.Major = VersionPart("MajorVersion");
  Version.Minor = VersionPart("MinorVersion");
  Version.SubMinor = VersionPart("SubMinorVersion");
}

bool NodeMap::ParseSwissKnifes(gcstring_vector* pErrorList) const {
  ReadScope scope(*this);
  bool good = true;
  for (Node* node : m_nodes) {
    const auto* owner = dynamic_cast<const FormulaOwner*>(node);
    if (owner == nullptr) continue;
    const std::string error = owner->FormulaErrors();
    if (error.empty()) continue;
    good = false;
    if (pErrorList) pErrorList->push_back((std::string(node->Name()) + ": " + error).c_str());
  }
  return good;
}

// ---- changes ----

void NodeMap::FailCircle(const Node& node) const {
  --m_readDepth;
  GENAPI_RAISE(LogicalErrorException, node, "the node depends on itself or on too many others");
}

void NodeMap::NoteCallbacks(Node& node) {
  if (m_numCallbacks == 0 || m_suppress == csmActive) return;
  if (node.m_noted || !node.HasCallbacks()) return;
  node.m_noted = true;
  m_changed.push_back(&node);
}

// Breadth first over the dependents. The start counts as unvisited, so that a node that invalidates
// itself in a circle loses its cache as well.
void NodeMap::Spread(Node& start, uint8_t what) {
  if (++m_visit == 0) {
    for (Node* node : m_nodes) node->m_visit = 0;
    m_visit = 1;
  }
  const size_t base = m_work.size();
  m_work.push_back(&start);
  NoteCallbacks(start);
  for (size_t i = base; i < m_work.size(); ++i) {
    const Node* node = m_work[i];
    const uint8_t cause = i == base ? what : node->m_visitVoid;
    for (const Dependent& edge : node->Dependents()) {
      uint8_t effect = 0;
      if (cause & sk_voidValue) effect |= edge.onValue;
      if (cause & sk_voidAccess) effect |= edge.onAccess;
      if (cause & sk_voidRange) effect |= edge.onRange;
      Node* dependent = edge.pNode;
      const bool first = dependent->m_visit != m_visit;
      const uint8_t before = first ? uint8_t{sk_voidNothing} : dependent->m_visitVoid;
      if (!first && (before | effect) == before) continue;
      dependent->m_visit = m_visit;
      dependent->m_visitVoid = before | effect;
      if (effect & sk_voidValue) dependent->DropValue();
      if (effect & sk_voidAccess) dependent->DropAccess();
      if (first) NoteCallbacks(*dependent);
      if (dependent != &start) m_work.push_back(dependent);
    }
  }
  m_work.resize(base);
}

void NodeMap::NodeChanged(Node& node) {
  Spread(node, sk_voidValue);
}

void NodeMap::RangeChanged(Node& node) {
  Spread(node, sk_voidValue | sk_voidRange);
}

void NodeMap::NodeInvalidated(Node& node) {
  // What the node reads through is void too, else the next read would find the old value there.
  Node* at = &node;
  for (int i = 0; i < sk_maxReadDepth && at != nullptr; ++i) {
    at->DropValue();
    at->DropAccess();
    at = at->FirstLinked(Element::pValue);
  }
  Spread(node, sk_voidAll);
}

void NodeMap::RegisterWritten(Node& owner, PortNode& port, int64_t address, int64_t length) {
  port.DropOverlapping(owner, address, length);
}

void NodeMap::InvalidateNodes() const {
  auto& self = const_cast<NodeMap&>(*this);
  WriteScope scope(self);
  for (Node* node : self.m_nodes) {
    node->DropValue();
    node->DropAccess();
    self.NoteCallbacks(*node);
  }
  scope.Finish();
}

void NodeMap::Poll(int64_t ElapsedTime) {
  WriteScope scope(*this);
  for (Node* node : m_pollers) {
    node->m_polled += ElapsedTime;
    if (node->m_polled < node->m_pollingTime) continue;
    node->m_polled = 0;
    try {
      const Node* block = node->FirstLinked(Element::pBlockPolling);
      if (block && const_cast<Node*>(block)->ReadInt({}) != 0) continue;
      if (!node->MayPoll()) continue;
    } catch (const GENICAM_NAMESPACE::GenericException&) {
      continue;  // what cannot be asked at the moment is asked the next time
    }
    NodeInvalidated(*node);
  }
  scope.Finish();
}

}  // namespace OrvexGenApi
