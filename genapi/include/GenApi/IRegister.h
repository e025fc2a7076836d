#pragma once
// SPDX-License-Identifier: Apache-2.0
// The bytes behind a feature (GenICam GenApi). Owned by the node map. Any thread. Verify,
// IgnoreCache and failures as in IValue.
#include <GenApi/IValue.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IRegister : virtual public IValue {
  // Length is in bytes and must be the register's own.
  virtual void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) = 0;
  virtual void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false,
                   bool IgnoreCache = false) = 0;
  virtual int64_t GetLength(bool Verify = false) = 0;
  virtual int64_t GetAddress(bool Verify = false) = 0;
};

}  // namespace GENAPI_NAMESPACE
