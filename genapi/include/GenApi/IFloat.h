#pragma once
// SPDX-License-Identifier: Apache-2.0
// A floating-point feature (GenICam GenApi). Owned by the node map. Any thread. Verify, IgnoreCache
// and failures as in IValue.
#include <GenApi/Autovector.h>
#include <GenApi/IValue.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IFloat : virtual public IValue {
  virtual void SetValue(double Value, bool Verify = true) = 0;
  virtual IFloat& operator=(double Value) = 0;
  virtual double GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
  virtual double operator()() = 0;
  virtual double operator*() = 0;
  virtual double GetMin() = 0;
  virtual double GetMax() = 0;
  virtual bool HasInc() = 0;
  virtual EIncMode GetIncMode() = 0;
  // Informative: writes are not held to it. RuntimeException when there is none.
  virtual double GetInc() = 0;
  virtual double_autovector_t GetListOfValidValues(bool bounded = true) = 0;
  virtual ERepresentation GetRepresentation() = 0;
  virtual GENICAM_NAMESPACE::gcstring GetUnit() const = 0;
  virtual EDisplayNotation GetDisplayNotation() const = 0;
  // Digits, as the precision of a stream.
  virtual int64_t GetDisplayPrecision() const = 0;
  // Narrow the range from outside; a wider value than the node's own has no effect.
  virtual void ImposeMin(double Value) = 0;
  virtual void ImposeMax(double Value) = 0;
};

}  // namespace GENAPI_NAMESPACE
