#pragma once
// SPDX-License-Identifier: Apache-2.0
// The way to a device's registers (GenICam GenApi). Implemented by whoever connects a node map to a
// device; the node map does not own it. Called with the node map's lock held, so by one thread at a
// time.
#include <GenApi/IBase.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IPort : virtual public IBase {
  // Length bytes at Address, as they lie in the device. Throws when they cannot all be had.
  virtual void Read(void* pBuffer, int64_t Address, int64_t Length) = 0;
  virtual void Write(const void* pBuffer, int64_t Address, int64_t Length) = 0;
};

}  // namespace GENAPI_NAMESPACE
