#pragma once
// SPDX-License-Identifier: Apache-2.0
// Events of IIDC cameras on IEEE 1394. Use as CEventAdapter. The published interface names the
// message without its bytes; here it is quadlets in bus order (big-endian), the event's id in the
// first. Address 0 of an event's port is the first byte of the message.

#include <GenApi/EventAdapter.h>

namespace GENAPI_NAMESPACE {

// The start of a message; what the camera adds follows.
struct EventData1394 {
  uint32_t EventId;  // big-endian
};

class GENAPI_DECL CEventAdapter1394 : public CEventAdapter {
 public:
  explicit CEventAdapter1394(INodeMap* pNodeMap = nullptr);
  ~CEventAdapter1394() override;

  void DeliverMessage(const uint8_t msg[], uint32_t numBytes) override;
  // numBytes counts the whole message that starts at Event.
  void DeliverEventMessage(EventData1394& Event, uint32_t numBytes);
};

}  // namespace GENAPI_NAMESPACE
