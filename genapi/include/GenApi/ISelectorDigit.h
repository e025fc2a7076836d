#pragma once
// SPDX-License-Identifier: Apache-2.0
// One digit, or several, of a counter that runs through all values of selectors (GenICam GenApi).
// Owned by whoever made it. One thread at a time.
#include <GenApi/Container.h>
#include <GenApi/IBase.h>

namespace GENAPI_NAMESPACE {

class CSelectorState;

struct GENAPI_DECL_ABSTRACT ISelectorDigit {
  // Goes to the first combination; false when there is none.
  virtual bool SetFirst() = 0;
  // Goes to the next combination; false after the last one.
  virtual bool SetNext(bool Tick = true) = 0;
  // Puts the selectors back to what they were.
  virtual void Restore() = 0;
  virtual GENICAM_NAMESPACE::gcstring ToString() = 0;
  virtual void GetState(CSelectorState& state) = 0;
  virtual void GetSelectorList(FeatureList_t& SelectorList, bool Incremental = false) = 0;
  virtual ~ISelectorDigit() {}
};

}  // namespace GENAPI_NAMESPACE
