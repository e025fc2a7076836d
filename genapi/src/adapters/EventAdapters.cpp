// SPDX-License-Identifier: Apache-2.0
// Event adapters and the port over the latest event of one kind.

#include <GenApi/EventAdapter.h>
#include <GenApi/EventAdapterGEV.h>
#include <GenApi/EventAdapterGeneric.h>
#include <GenApi/EventAdapterU3V.h>

#include <cstddef>
#include <cstring>

#include <Base/GCException.h>
#include <GenApi/INode.h>

#include "adapters/EventBytes.h"
#include "adapters/HexId.h"

using OrvexGenApi::BigEndian16;
using OrvexGenApi::LittleEndian16;
using OrvexGenApi::LittleEndian32;
using OrvexGenApi::Reject;

namespace GENAPI_NAMESPACE {

namespace {

constexpr uint8_t sk_extendedIds = 0x10;  // flag of a GVCP header
static_assert(sizeof(GVCP_REQUEST_HEADER) == 8 && sizeof(GVCP_EVENT_ITEM) == 16 &&
              sizeof(GVCP_EVENT_ITEM_EXTENDED_ID) == 24);
static_assert(sizeof(U3V_COMMAND_HEADER) == 12 && sizeof(U3V_EVENT_DATA) == 12);

}  // namespace

CEventPort::CEventPort(INode* pNode) {
  if (pNode) AttachNode(pNode);
}

CEventPort::~CEventPort() {
  try {
    DetachNode();
  } catch (...) {
    // A callback threw. Destructors let nothing out.
  }
}

EAccessMode CEventPort::GetAccessMode() const {
  return m_hasEvent ? RO : NA;
}

void CEventPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
  if (!m_hasEvent) throw ACCESS_EXCEPTION("There was no event yet");
  const auto size = int64_t(m_event.size());
  if (Address < 0 || Length < 0 || Address > size || Length > size - Address) {
    throw OUT_OF_RANGE_EXCEPTION("%lld bytes at address %lld are outside of an event of %lld bytes",
                                 static_cast<long long>(Length), static_cast<long long>(Address),
                                 static_cast<long long>(size));
  }
  if (Length > 0) std::memcpy(pBuffer, m_event.data() + Address, size_t(Length));
}

void CEventPort::Write(const void*, int64_t, int64_t) {
  throw ACCESS_EXCEPTION("Event data are read only");
}

void CEventPort::SetPortImpl(IPort*) {}
void CEventPort::SetPortImpl(IPortStacked*) {}
EYesNo CEventPort::GetSwapEndianess() {
  return No;
}

void CEventPort::InvalidateNode() {
  if (m_pNode) m_pNode->InvalidateNode();
}

bool CEventPort::AttachNode(INode* pNode) {
  DetachNode();
  auto id = OrvexGenApi::ParseHexId(pNode->GetEventID());
  if (!id) return false;
  m_id = std::move(*id);
  m_pNode = pNode;
  m_pConstruct = dynamic_cast<IPortConstruct*>(pNode);
  if (m_pConstruct) {
    m_pConstruct->SetPortImpl(this);
    InvalidateNode();
  }
  return true;
}

void CEventPort::DetachNode() {
  if (!m_pNode) return;
  DetachEvent();
  INode* const pNode = m_pNode;
  m_pNode = nullptr;
  if (m_pConstruct) {
    m_pConstruct->SetPortImpl(nullptr);
    m_pConstruct = nullptr;
    pNode->InvalidateNode();
  }
}

int CEventPort::GetEventIDLength() {
  return int(m_id.size());
}

bool CEventPort::CheckEventID(const uint8_t* pEventIDBuffer, int EventIDLength) const {
  return EventIDLength > 0 && OrvexGenApi::SameId(m_id, pEventIDBuffer, size_t(EventIDLength));
}

bool CEventPort::CheckEventID(const uint64_t EventID) const {
  return OrvexGenApi::SameId(m_id, EventID);
}

void CEventPort::AttachEvent(const uint8_t* pBaseAddress, int64_t Length) {
  if (Length < 0 || (!pBaseAddress && Length > 0)) {
    throw INVALID_ARGUMENT_EXCEPTION("An event needs bytes and a length of at least 0");
  }
  if (!m_pConstruct) return;
  const AutoLock lock(m_pNode->GetNodeMap()->GetLock());
  m_event.assign(pBaseAddress, pBaseAddress + Length);
  m_hasEvent = true;
}

void CEventPort::DetachEvent() {
  if (!m_pNode) return;
  const AutoLock lock(m_pNode->GetNodeMap()->GetLock());
  m_event.clear();
  m_hasEvent = false;
}

CEventAdapter::CEventAdapter(INodeMap* pNodeMap) {
  if (pNodeMap) CEventAdapter::AttachNodeMap(pNodeMap);
}

CEventAdapter::~CEventAdapter() = default;

void CEventAdapter::AttachNodeMap(INodeMap* pNodeMap) {
  DetachNodeMap();
  if (!pNodeMap) throw INVALID_ARGUMENT_EXCEPTION("The node map is null");
  m_pNodeMap = pNodeMap;
  NodeList_t nodes;
  pNodeMap->GetNodes(nodes);
  for (INode* pNode : nodes) {
    auto pPort = std::make_unique<CEventPort>();
    if (pPort->AttachNode(pNode)) m_Ports.push_back(std::move(pPort));
  }
}

void CEventAdapter::DetachNodeMap() {
  m_Ports.clear();
  m_pNodeMap = nullptr;
}

template <class Id>
void CEventAdapter::DeliverWhere(Id matches, const uint8_t* pEvent, int64_t Length) {
  // All ports first, so that a callback sees the new event whichever node it reads.
  for (const auto& pPort : m_Ports) {
    if (matches(*pPort)) pPort->AttachEvent(pEvent, Length);
  }
  for (const auto& pPort : m_Ports) {
    if (matches(*pPort)) pPort->InvalidateNode();
  }
}

void CEventAdapter::DeliverEvent(uint64_t EventID, const uint8_t* pEvent, int64_t Length) {
  DeliverWhere([=](const CEventPort& port) { return port.CheckEventID(EventID); }, pEvent, Length);
}

void CEventAdapter::DeliverEvent(const uint8_t* pEventID, int EventIDLength, const uint8_t* pEvent,
                                 int64_t Length) {
  DeliverWhere([=](const CEventPort& port) { return port.CheckEventID(pEventID, EventIDLength); },
               pEvent, Length);
}

CEventAdapterGEV::CEventAdapterGEV(INodeMap* pNodeMap) : CEventAdapter(pNodeMap) {}
CEventAdapterGEV::~CEventAdapterGEV() = default;

void CEventAdapterGEV::DeliverMessage(const uint8_t msg[], uint32_t numBytes) {
  if (!msg || numBytes < sizeof(GVCP_REQUEST_HEADER)) Reject("shorter than its header");
  if (msg[0] != COMMAND_MAGIC) Reject("no GVCP command");
  const uint16_t command = BigEndian16(msg + 2);
  if (command != TAG_EVENT_CMD && command != TAG_EVENTDATA_CMD) Reject("no event command");
  const size_t length = BigEndian16(msg + 4);
  const uint8_t* const pBegin = msg + sizeof(GVCP_REQUEST_HEADER);
  // A datagram may be padded, never shorter than announced.
  if (length > numBytes - sizeof(GVCP_REQUEST_HEADER)) Reject("shorter than announced");
  const bool isExtended = (msg[1] & sk_extendedIds) != 0;
  const size_t itemBytes =
      isExtended ? sizeof(GVCP_EVENT_ITEM_EXTENDED_ID) : sizeof(GVCP_EVENT_ITEM);
  if (length < itemBytes) Reject("no complete event");
  for (size_t at = 0; at < length;) {
    if (length - at < itemBytes) Reject("an event is cut off");
    size_t bytes = itemBytes;
    if (command == TAG_EVENTDATA_CMD) {
      // Concatenated events tell their size; a size of 0 means all that is left.
      const size_t size = isExtended ? BigEndian16(pBegin + at) : 0;
      bytes = size == 0 ? length - at : size;
      if (bytes < itemBytes || bytes > length - at)
        Reject("an event's size does not fit the message");
    }
    DeliverEvent(BigEndian16(pBegin + at + 2), pBegin + at, int64_t(bytes));
    at += bytes;
  }
}

namespace {

template <class Message>
void DeliverWhole(CEventAdapterGEV& adapter, const Message* pMessage) {
  if (!pMessage) throw INVALID_ARGUMENT_EXCEPTION("The message is null");
  const auto* pBytes = reinterpret_cast<const uint8_t*>(pMessage);
  adapter.DeliverMessage(pBytes, uint32_t(sizeof(GVCP_REQUEST_HEADER)) + BigEndian16(pBytes + 4));
}

}  // namespace

void CEventAdapterGEV::DeliverEventMessage(const GVCP_EVENT_REQUEST* pEvent) {
  DeliverWhole(*this, pEvent);
}
void CEventAdapterGEV::DeliverEventMessage(const GVCP_EVENTDATA_REQUEST* pEventData) {
  DeliverWhole(*this, pEventData);
}
void CEventAdapterGEV::DeliverEventMessage(const GVCP_EVENT_REQUEST_EXTENDED_ID* pEvent) {
  DeliverWhole(*this, pEvent);
}
void CEventAdapterGEV::DeliverEventMessage(const GVCP_EVENTDATA_REQUEST_EXTENDED_ID* pEventData) {
  DeliverWhole(*this, pEventData);
}

CEventAdapterU3V::CEventAdapterU3V(INodeMap* pNodeMap) : CEventAdapter(pNodeMap) {}
CEventAdapterU3V::~CEventAdapterU3V() = default;

void CEventAdapterU3V::DeliverMessage(const uint8_t msg[], uint32_t numBytes) {
  if (!msg || numBytes < sizeof(U3V_COMMAND_HEADER)) Reject("shorter than its header");
  if (LittleEndian32(msg) != U3V_EVENT_PREFIX) Reject("no USB3 Vision event");
  if (LittleEndian16(msg + offsetof(U3V_COMMAND_HEADER, CommandId)) != GENCP_EVENT_CMD_ID) {
    Reject("no event command");
  }
  const size_t length = LittleEndian16(msg + offsetof(U3V_COMMAND_HEADER, Length));
  if (length > numBytes - sizeof(U3V_COMMAND_HEADER)) Reject("shorter than announced");
  if (length < sizeof(U3V_EVENT_DATA)) Reject("no complete event");
  const uint8_t* const pEvent = msg + sizeof(U3V_COMMAND_HEADER);
  DeliverEvent(LittleEndian16(pEvent + offsetof(U3V_EVENT_DATA, EventId)), pEvent, int64_t(length));
}

void CEventAdapterU3V::DeliverEventMessage(const U3V_EVENT_MESSAGE* pEventMessage) {
  if (!pEventMessage) throw INVALID_ARGUMENT_EXCEPTION("The message is null");
  const auto* pBytes = reinterpret_cast<const uint8_t*>(pEventMessage);
  DeliverMessage(pBytes, uint32_t(sizeof(U3V_COMMAND_HEADER)) +
                             LittleEndian16(pBytes + offsetof(U3V_COMMAND_HEADER, Length)));
}

CEventAdapterGeneric::CEventAdapterGeneric(INodeMap* pNodeMap) : CEventAdapter(pNodeMap) {}
CEventAdapterGeneric::~CEventAdapterGeneric() = default;

void CEventAdapterGeneric::DeliverMessage(const uint8_t[], uint32_t) {
  throw LOGICAL_ERROR_EXCEPTION("The generic event adapter must be told the event's id");
}

void CEventAdapterGeneric::DeliverMessage(const uint8_t msg[], uint32_t numBytes,
                                          const GENICAM_NAMESPACE::gcstring& EventID) {
  const auto id = OrvexGenApi::ParseHexId(EventID);
  if (!id) throw INVALID_ARGUMENT_EXCEPTION("'%s' is no hexadecimal event id", EventID.c_str());
  DeliverEvent(id->data(), int(id->size()), msg, numBytes);
}

void CEventAdapterGeneric::DeliverMessage(const uint8_t msg[], uint32_t numBytes,
                                          uint64_t EventID) {
  DeliverEvent(EventID, msg, numBytes);
}

}  // namespace GENAPI_NAMESPACE
