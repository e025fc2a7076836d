#pragma once
// SPDX-License-Identifier: Apache-2.0
// A 64-bit integer feature (GenICam GenApi). Owned by the node map. Any thread. Verify, IgnoreCache
// and failures as in IValue.
#include <GenApi/Autovector.h>
#include <GenApi/IValue.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IInteger : virtual public IValue {
  virtual void SetValue(int64_t Value, bool Verify = true) = 0;
  virtual IInteger& operator=(int64_t Value) = 0;
  virtual int64_t GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
  virtual int64_t operator()() = 0;
  virtual int64_t operator*() = 0;
  virtual int64_t GetMin() = 0;
  virtual int64_t GetMax() = 0;
  virtual EIncMode GetIncMode() = 0;
  // Distance of two neighbouring valid values, counted from the minimum.
  virtual int64_t GetInc() = 0;
  // The valid values when the increment mode is listIncrement, else empty; bounded leaves out those
  // outside min..max.
  virtual int64_autovector_t GetListOfValidValues(bool bounded = true) = 0;
  virtual ERepresentation GetRepresentation() = 0;
  virtual GENICAM_NAMESPACE::gcstring GetUnit() = 0;
  // Narrow the range from outside; a wider value than the node's own has no effect.
  virtual void ImposeMin(int64_t Value) = 0;
  virtual void ImposeMax(int64_t Value) = 0;
};

}  // namespace GENAPI_NAMESPACE
