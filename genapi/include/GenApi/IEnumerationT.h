#pragma once
// SPDX-License-Identifier: Apache-2.0
// An enumeration seen through a C++ enumeration type, for generated code (GenICam GenApi). Any
// thread.
#include <GenApi/IEnumeration.h>

namespace GENAPI_NAMESPACE {

template <typename EnumT>
struct IEnumerationT : virtual public IEnumeration {
  virtual void SetValue(EnumT Value, bool Verify = true) = 0;
  virtual IEnumeration& operator=(EnumT Value) = 0;
  using IEnumeration::operator=;
  virtual EnumT GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
  virtual EnumT operator()() = 0;
  virtual IEnumEntry* GetEntry(const EnumT Value) = 0;
  using IEnumeration::GetEntry;
  IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) override = 0;
};

}  // namespace GENAPI_NAMESPACE
