#pragma once
// SPDX-License-Identifier: Apache-2.0
// All selectors of one feature as a counter: the walk visits every combination of their values that
// the device allows, and puts the selectors back. Owned by its maker; the node map must outlive it.
// One thread at a time, holding the node map's lock.

#include <memory>
#include <vector>

#include <GenApi/ISelectorDigit.h>
#include <GenApi/SelectorState.h>

namespace GENAPI_NAMESPACE {

class GENAPI_DECL CSelectorSet : public ISelectorDigit {
 public:
  // pBase is the feature; selectors that are themselves selected bring their selectors along.
  explicit CSelectorSet(IBase* pBase);
  CSelectorSet(const CSelectorSet&) = delete;
  CSelectorSet& operator=(const CSelectorSet&) = delete;
  // Does not put anything back.
  ~CSelectorSet() override;

  // True when the feature has no selector.
  bool IsEmpty();
  // Goes to the first combination; false when there is none.
  bool SetFirst() override;
  // Goes to the next one; false after the last, with all selectors put back. Without Tick it only
  // answers whether the walk stands on a combination.
  bool SetNext(bool Tick = true) override;
  void Restore() override;
  // "Name=Value" of each selector, outermost first, separated by tabs.
  GENICAM_NAMESPACE::gcstring ToString() override;
  void GetState(CSelectorState& state) override;
  // Replaces the list; Incremental adds those that are not yet in it.
  void GetSelectorList(FeatureList_t& SelectorList, bool Incremental = false) override;

 private:
  bool Settle(size_t from);

  std::vector<std::unique_ptr<ISelectorDigit>> m_digits;  // outermost first
  bool m_standing = false;
};

}  // namespace GENAPI_NAMESPACE
