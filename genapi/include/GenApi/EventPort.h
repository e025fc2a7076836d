#pragma once
// SPDX-License-Identifier: Apache-2.0
// The bytes of the latest event of one kind, readable through a port node that has an event id; for
// other nodes with an event id, the link from the event to the node. Owned by an event adapter; it
// must go before the node map does. Attaching takes the node map's lock; reads come from the node
// map, which holds it.

#include <vector>

#include <GenApi/IPortConstruct.h>

namespace GENAPI_NAMESPACE {

struct INode;

class GENAPI_DECL CEventPort : public IPortConstruct {
 public:
  explicit CEventPort(INode* pNode = nullptr);
  CEventPort(const CEventPort&) = delete;
  CEventPort& operator=(const CEventPort&) = delete;
  ~CEventPort() override;

  // RO once there was an event, NA before.
  EAccessMode GetAccessMode() const override;
  EInterfaceType GetPrincipalInterfaceType() const { return intfIPort; }
  // Address 0 is the first byte of the event's entry in the message. OutOfRangeException outside,
  // AccessException without an event.
  void Read(void* pBuffer, int64_t Address, int64_t Length) override;
  // Events are read only: throws AccessException.
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
  // There is no port behind an event: ignored.
  void SetPortImpl(IPort* pPort) override;
  void SetPortImpl(IPortStacked* pPort);
  EYesNo GetSwapEndianess() override;
  // Drops the caches of the node and of everything behind it, and fires the callbacks.
  void InvalidateNode();

  // False when the node has no event id.
  bool AttachNode(INode* pNode);
  void DetachNode();
  // The id's length in bytes.
  int GetEventIDLength();
  // Compares with an id as it lies in a message, first byte first, or as a number.
  bool CheckEventID(const uint8_t* pEventIDBuffer, int EventIDLength) const;
  bool CheckEventID(const uint64_t EventID) const;
  // Keeps a copy of the event's bytes. Nothing fires before InvalidateNode.
  void AttachEvent(const uint8_t* pBaseAddress, int64_t Length);
  void DetachEvent();

 private:
  INode* m_pNode = nullptr;
  IPortConstruct* m_pConstruct = nullptr;  // null when the node is no port
  std::vector<uint8_t> m_id;
  std::vector<uint8_t> m_event;
  bool m_hasEvent = false;
};

}  // namespace GENAPI_NAMESPACE
