#pragma once
// SPDX-License-Identifier: Apache-2.0
// A yes-or-no feature (GenICam GenApi). Owned by the node map. Any thread. Verify, IgnoreCache and
// failures as in IValue.
#include <GenApi/IValue.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IBoolean : virtual public IValue {
  virtual void SetValue(bool Value, bool Verify = true) = 0;
  virtual IBoolean& operator=(bool Value) = 0;
  virtual bool GetValue(bool Verify = false, bool IgnoreCache = false) const = 0;
  virtual bool operator()() const = 0;
};

}  // namespace GENAPI_NAMESPACE
