// SPDX-License-Identifier: Apache-2.0
// Event adapters of the older cables: IEEE 1394 and Camera Link.

#include <GenApi/EventAdapter1394.h>
#include <GenApi/EventAdapterCL.h>

#include <cstddef>

#include "adapters/EventBytes.h"

using OrvexGenApi::BigEndian16;
using OrvexGenApi::BigEndian32;
using OrvexGenApi::Reject;

namespace GENAPI_NAMESPACE {

static_assert(sizeof(CL_COMMAND_HEADER) == 16 && sizeof(CL_EVENT_DATA) == 12);

CEventAdapter1394::CEventAdapter1394(INodeMap* pNodeMap) : CEventAdapter(pNodeMap) {}
CEventAdapter1394::~CEventAdapter1394() = default;

void CEventAdapter1394::DeliverMessage(const uint8_t msg[], uint32_t numBytes) {
  if (!msg || numBytes < sizeof(EventData1394)) Reject("shorter than its event id");
  DeliverEvent(BigEndian32(msg), msg, numBytes);
}

void CEventAdapter1394::DeliverEventMessage(EventData1394& Event, uint32_t numBytes) {
  DeliverMessage(reinterpret_cast<const uint8_t*>(&Event), numBytes);
}

CEventAdapterCL::CEventAdapterCL(INodeMap* pNodeMap) : CEventAdapter(pNodeMap) {}
CEventAdapterCL::~CEventAdapterCL() = default;

void CEventAdapterCL::DeliverMessage(const uint8_t msg[], uint32_t numBytes) {
  if (!msg || numBytes < sizeof(CL_COMMAND_HEADER)) Reject("shorter than its header");
  if (BigEndian16(msg) != CL_EVENT_PREAMBLE) Reject("no GenCP message");
  if (BigEndian16(msg + offsetof(CL_COMMAND_HEADER, CommandId)) != CL_EVENT_CMD_ID) {
    Reject("no event command");
  }
  const size_t length = BigEndian16(msg + offsetof(CL_COMMAND_HEADER, Length));
  if (length > numBytes - sizeof(CL_COMMAND_HEADER)) Reject("shorter than announced");
  if (length < sizeof(CL_EVENT_DATA)) Reject("no complete event");
  const uint8_t* const pEvent = msg + sizeof(CL_COMMAND_HEADER);
  DeliverEvent(BigEndian16(pEvent + offsetof(CL_EVENT_DATA, EventId)), pEvent, int64_t(length));
}

void CEventAdapterCL::DeliverEventMessage(const CL_EVENT_MESSAGE* pEventMessage) {
  if (!pEventMessage) throw INVALID_ARGUMENT_EXCEPTION("The message is null");
  const auto* pBytes = reinterpret_cast<const uint8_t*>(pEventMessage);
  DeliverMessage(pBytes, uint32_t(sizeof(CL_COMMAND_HEADER)) +
                             BigEndian16(pBytes + offsetof(CL_COMMAND_HEADER, Length)));
}

}  // namespace GENAPI_NAMESPACE
