#pragma once
// SPDX-License-Identifier: Apache-2.0
// Events of Camera Link cameras that speak GenCP over the serial line. Use as CEventAdapter.
// Address 0 of an event's port is the first byte behind the command header.

#include <GenApi/EventAdapter.h>

namespace GENAPI_NAMESPACE {

enum { CL_EVENT_PREAMBLE = 0x0100, CL_EVENT_CMD_ID = 0x0c00 };

// The layout of the message: GenCP's serial prefix, its command header, its event; all numbers
// big-endian. The checksums belong to the serial line, whose reader has looked at them.
#pragma pack(push, 1)
typedef struct _CL_COMMAND_HEADER {
  uint16_t Preamble;
  uint16_t CommandChecksum;
  uint16_t DataChecksum;
  uint16_t ChannelId;
  uint16_t Flags;
  uint16_t CommandId;
  uint16_t Length;  // of what follows, bytes
  uint16_t ReqId;
} CL_COMMAND_HEADER;

typedef struct _CL_EVENT_DATA {
  uint16_t Reserved;
  uint16_t EventId;
  uint64_t Timestamp;
} CL_EVENT_DATA;

typedef struct _CL_EVENT_MESSAGE {
  CL_COMMAND_HEADER CommandHeader;
  CL_EVENT_DATA EventData;
} CL_EVENT_MESSAGE;
#pragma pack(pop)

class GENAPI_DECL CEventAdapterCL : public CEventAdapter {
 public:
  explicit CEventAdapterCL(INodeMap* pNodeMap = nullptr);
  ~CEventAdapterCL() override;

  void DeliverMessage(const uint8_t msg[], uint32_t numBytes) override;
  // The message must be as long as its header says.
  void DeliverEventMessage(const CL_EVENT_MESSAGE* pEventMessage);
};

}  // namespace GENAPI_NAMESPACE
