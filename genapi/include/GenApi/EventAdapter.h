#pragma once
// SPDX-License-Identifier: Apache-2.0
// Takes event messages and tells the nodes that have the events' ids: their ports hold the event's
// bytes, their caches are dropped, their callbacks fire in the delivering thread. Owned by the
// application; the node map must outlive it or be detached first. One thread at a time; readers of
// the node map may be others.

#include <memory>
#include <vector>

#include <GenApi/EventPort.h>
#include <GenApi/INodeMap.h>

namespace GENAPI_NAMESPACE {

class GENAPI_DECL CEventAdapter {
 public:
  explicit CEventAdapter(INodeMap* pNodeMap = nullptr);
  CEventAdapter(const CEventAdapter&) = delete;
  CEventAdapter& operator=(const CEventAdapter&) = delete;
  virtual ~CEventAdapter();

  // Finds the nodes that have an event id; replaces a map that was attached.
  virtual void AttachNodeMap(INodeMap* pNodeMap);
  virtual void DetachNodeMap();
  // One message as received. RuntimeException when it is malformed; events before the fault have
  // been delivered. The bytes are copied as far as they are needed later.
  virtual void DeliverMessage(const uint8_t msg[], uint32_t numBytes) = 0;

 protected:
  // Hands one event to all nodes with its id.
  void DeliverEvent(uint64_t EventID, const uint8_t* pEvent, int64_t Length);
  void DeliverEvent(const uint8_t* pEventID, int EventIDLength, const uint8_t* pEvent,
                    int64_t Length);

 private:
  template <class Id>
  void DeliverWhere(Id matches, const uint8_t* pEvent, int64_t Length);

  INodeMap* m_pNodeMap = nullptr;
  std::vector<std::unique_ptr<CEventPort>> m_Ports;
};

}  // namespace GENAPI_NAMESPACE
