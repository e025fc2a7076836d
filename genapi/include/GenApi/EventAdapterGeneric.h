#pragma once
// SPDX-License-Identifier: Apache-2.0
// Events whose ids are known from elsewhere, such as a GenTL producer. Use as CEventAdapter.
// Address 0 of an event's port is the first byte of the message.

#include <Base/GCString.h>
#include <GenApi/EventAdapter.h>

namespace GENAPI_NAMESPACE {

class GENAPI_DECL CEventAdapterGeneric : public CEventAdapter {
 public:
  explicit CEventAdapterGeneric(INodeMap* pNodeMap = nullptr);
  ~CEventAdapterGeneric() override;

  // Bytes alone have no id here: throws LogicalErrorException.
  void DeliverMessage(const uint8_t msg[], uint32_t numBytes) override;
  // EventID is hexadecimal text. InvalidArgumentException when it is not.
  virtual void DeliverMessage(const uint8_t msg[], uint32_t numBytes,
                              const GENICAM_NAMESPACE::gcstring& EventID);
  virtual void DeliverMessage(const uint8_t msg[], uint32_t numBytes, uint64_t EventID);
};

}  // namespace GENAPI_NAMESPACE
