#pragma once
// SPDX-License-Identifier: Apache-2.0
// Events of USB3 Vision cameras. Use as CEventAdapter. Address 0 of an event's port is the first
// byte behind the command header.

#include <GenApi/EventAdapter.h>

namespace GENAPI_NAMESPACE {

enum { U3V_EVENT_PREFIX = 0x45563355, GENCP_EVENT_CMD_ID = 0x0c00 };

// The layout of the message; all numbers little-endian.
#pragma pack(push, 1)
typedef struct _U3V_COMMAND_HEADER {
  uint32_t Prefix;
  uint16_t Flags;
  uint16_t CommandId;
  uint16_t Length;  // of what follows, bytes
  uint16_t ReqId;
} U3V_COMMAND_HEADER;

typedef struct _U3V_EVENT_DATA {
  uint16_t Reserved;
  uint16_t EventId;
  uint64_t Timestamp;
} U3V_EVENT_DATA;

typedef struct _U3V_EVENT_MESSAGE {
  U3V_COMMAND_HEADER CommandHeader;
  U3V_EVENT_DATA EventData;
} U3V_EVENT_MESSAGE;
#pragma pack(pop)

class GENAPI_DECL CEventAdapterU3V : public CEventAdapter {
 public:
  explicit CEventAdapterU3V(INodeMap* pNodeMap = nullptr);
  ~CEventAdapterU3V() override;

  void DeliverMessage(const uint8_t msg[], uint32_t numBytes) override;
  // The message must be as long as its header says.
  void DeliverEventMessage(const U3V_EVENT_MESSAGE* pEventMessage);
};

}  // namespace GENAPI_NAMESPACE
