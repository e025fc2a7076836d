#pragma once
// SPDX-License-Identifier: Apache-2.0
// Events of GigE Vision cameras: GVCP messages EVENT and EVENTDATA (GigE Vision 2.x, message
// channel). Use as CEventAdapter. Address 0 of an event's port is the first byte of its entry,
// which is 16 bytes long, or 24 with extended ids.

#include <GenApi/EventAdapter.h>

namespace GENAPI_NAMESPACE {

enum { COMMAND_MAGIC = 0x42 };
typedef enum _GVCP_MESSAGE_TAGS {
  TAG_EVENT_CMD = 0xc0,
  TAG_EVENTDATA_CMD = 0xc2
} GVCP_MESSAGE_TAGS;

// The layouts of the messages; all numbers in network byte order.
#pragma pack(push, 1)
typedef struct _GVCP_REQUEST_HEADER {
  uint8_t Magic;
  uint8_t Flags;  // 0x10: extended ids
  uint16_t Command;
  uint16_t Length;  // of what follows, bytes
  uint16_t ReqId;
} GVCP_REQUEST_HEADER;

typedef struct _GVCP_EVENT_ITEM_BASIC {
  uint16_t ReservedOrEventSize;
  uint16_t EventId;
} GVCP_EVENT_ITEM_BASIC;

typedef struct _GVCP_EVENT_ITEM {
  uint16_t ReservedOrEventSize;
  uint16_t EventId;
  uint16_t StreamChannelId;
  uint16_t BlockId;
  uint32_t TimestampHigh;
  uint32_t TimestampLow;
} GVCP_EVENT_ITEM;

typedef struct _GVCP_EVENT_ITEM_EXTENDED_ID {
  uint16_t ReservedOrEventSize;
  uint16_t EventId;
  uint16_t StreamChannelId;
  uint16_t BlockId;
  uint32_t BlockId64High;
  uint32_t BlockId64Low;
  uint32_t TimestampHigh;
  uint32_t TimestampLow;
} GVCP_EVENT_ITEM_EXTENDED_ID;

typedef struct _GVCP_EVENT_REQUEST {
  GVCP_REQUEST_HEADER Header;
  GVCP_EVENT_ITEM Items[1];
} GVCP_EVENT_REQUEST;

typedef struct _GVCP_EVENT_REQUEST_EXTENDED_ID {
  GVCP_REQUEST_HEADER Header;
  GVCP_EVENT_ITEM_EXTENDED_ID Items[1];
} GVCP_EVENT_REQUEST_EXTENDED_ID;

typedef struct _GVCP_EVENTDATA_REQUEST {
  GVCP_REQUEST_HEADER Header;
  GVCP_EVENT_ITEM Event;
  uint32_t Data[1];
} GVCP_EVENTDATA_REQUEST;

typedef struct _GVCP_EVENTDATA_REQUEST_EXTENDED_ID {
  GVCP_REQUEST_HEADER Header;
  GVCP_EVENT_ITEM_EXTENDED_ID Event;
  uint32_t Data[1];
} GVCP_EVENTDATA_REQUEST_EXTENDED_ID;
#pragma pack(pop)

class GENAPI_DECL CEventAdapterGEV : public CEventAdapter {
 public:
  explicit CEventAdapterGEV(INodeMap* pNodeMap = nullptr);
  ~CEventAdapterGEV() override;

  void DeliverMessage(const uint8_t msg[], uint32_t numBytes) override;
  // The message must be as long as its header says.
  void DeliverEventMessage(const GVCP_EVENT_REQUEST* pEvent);
  void DeliverEventMessage(const GVCP_EVENTDATA_REQUEST* pEventData);
  void DeliverEventMessage(const GVCP_EVENT_REQUEST_EXTENDED_ID* pEvent);
  void DeliverEventMessage(const GVCP_EVENTDATA_REQUEST_EXTENDED_ID* pEventData);
};

}  // namespace GENAPI_NAMESPACE
