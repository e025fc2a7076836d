#pragma once
// SPDX-License-Identifier: Apache-2.0
// A text feature (GenICam GenApi). Owned by the node map. Any thread. Verify, IgnoreCache and
// failures as in IValue.
#include <GenApi/IValue.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IString : virtual public IValue {
  virtual void SetValue(const GENICAM_NAMESPACE::gcstring& Value, bool Verify = true) = 0;
  virtual IString& operator=(const GENICAM_NAMESPACE::gcstring& Value) = 0;
  virtual GENICAM_NAMESPACE::gcstring GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
  virtual GENICAM_NAMESPACE::gcstring operator()() = 0;
  virtual GENICAM_NAMESPACE::gcstring operator*() = 0;
  // Bytes that the text may have.
  virtual int64_t GetMaxLength(bool Verify = false) = 0;
};

}  // namespace GENAPI_NAMESPACE
