#pragma once
// SPDX-License-Identifier: Apache-2.0
// A node with a value that has a text form (GenICam GenApi). Owned by the node map. Any thread.
//
// Two arguments recur in all value interfaces. Verify: check range and dependent errors of the
// value too, not only the access mode. IgnoreCache: ask the device even when a cached value is
// valid. Failures: AccessException when the access mode forbids the operation, OutOfRangeException
// for values outside the range or off the increments, InvalidArgumentException for text that is no
// value, and whatever the port throws.
#include <GenApi/IBase.h>

namespace GENAPI_NAMESPACE {

struct INode;

struct GENAPI_DECL_ABSTRACT IValue : virtual public IBase {
  virtual INode* GetNode() = 0;
  virtual GENICAM_NAMESPACE::gcstring ToString(bool Verify = false, bool IgnoreCache = false) = 0;
  virtual void FromString(const GENICAM_NAMESPACE::gcstring& ValueStr, bool Verify = true) = 0;
  // Whether a read would be answered without the device.
  virtual bool IsValueCacheValid() const = 0;
};

}  // namespace GENAPI_NAMESPACE
