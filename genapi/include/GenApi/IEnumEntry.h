#pragma once
// SPDX-License-Identifier: Apache-2.0
// One choice of an enumeration (GenICam GenApi). Owned by the node map. Any thread.
#include <GenApi/IValue.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IEnumEntry : virtual public IValue {
  virtual int64_t GetValue() = 0;
  // The choice's own name, without that of the enumeration.
  virtual GENICAM_NAMESPACE::gcstring GetSymbolic() const = 0;
  virtual double GetNumericValue() = 0;
  // Whether the device leaves this choice of itself, so that it must not be cached.
  virtual bool IsSelfClearing() = 0;
};

}  // namespace GENAPI_NAMESPACE
