#pragma once
// SPDX-License-Identifier: Apache-2.0
// A port that writes several registers in one go (GenICam GenApi). Owned and called as IPort.
#include <GenApi/IPort.h>

namespace GENAPI_NAMESPACE {

// One register of a stacked write; the buffer belongs to the caller.
typedef struct _PORT_REGISTER_STACK_ENTRY {
  uint64_t Address;
  void* pBuffer;
  size_t Size;
} PORT_REGISTER_STACK_ENTRY;

struct GENAPI_DECL_ABSTRACT IPortStacked : virtual public IPort {
  using IPort::Write;
  virtual void Write(PORT_REGISTER_STACK_ENTRY* pEntries, size_t numEntries) = 0;
};

}  // namespace GENAPI_NAMESPACE
