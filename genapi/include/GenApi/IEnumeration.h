#pragma once
// SPDX-License-Identifier: Apache-2.0
// One choice out of several (GenICam GenApi). Owned by the node map. Any thread. Verify,
// IgnoreCache and failures as in IValue.
#include <GenApi/Container.h>
#include <GenApi/IEnumEntry.h>
#include <GenApi/IValue.h>

namespace GENAPI_NAMESPACE {

// List of names.
typedef GENICAM_NAMESPACE::gcstring_vector StringList_t;

struct GENAPI_DECL_ABSTRACT IEnumeration : virtual public IValue {
  // Names of the choices that are available now.
  virtual void GetSymbolics(StringList_t& Symbolics) = 0;
  // All choices, available or not.
  virtual void GetEntries(NodeList_t& Entries) = 0;
  virtual IEnumeration& operator=(const GENICAM_NAMESPACE::gcstring& ValueStr) = 0;
  virtual void SetIntValue(int64_t Value, bool Verify = true) = 0;
  virtual GENICAM_NAMESPACE::gcstring operator*() = 0;
  virtual int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) = 0;
  // Null when there is no such choice.
  virtual IEnumEntry* GetEntryByName(const GENICAM_NAMESPACE::gcstring& Symbolic) = 0;
  virtual IEnumEntry* GetEntry(const int64_t IntValue) = 0;
  virtual IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) = 0;
};

}  // namespace GENAPI_NAMESPACE
