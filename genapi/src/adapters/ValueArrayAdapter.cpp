// SPDX-License-Identifier: Apache-2.0
// Sweeping a selector over a feature.

#include <GenApi/ValueArrayAdapter.h>

#include <algorithm>

#include <Base/GCUtilities.h>
#include <GenApi/ISelector.h>
#include <GenApi/IString.h>
#include <GenApi/SelectorSet.h>

#include "adapters/Limits.h"

namespace GENAPI_NAMESPACE {

CValueArrayAdapterBase::CValueArrayAdapterBase(IValue* pValue, IInteger* pSelector)
    : m_pValue(pValue), m_pSelector(pSelector) {}

CValueArrayAdapterBase::~CValueArrayAdapterBase() = default;

bool CValueArrayAdapterBase::IsPair() const {
  auto* pSelected = dynamic_cast<ISelector*>(m_pValue);
  if (!pSelected || !m_pSelector) return false;
  FeatureList_t selectors;
  pSelected->GetSelectingFeatures(selectors);
  INode* const pSelectorNode = m_pSelector->GetNode();
  return std::any_of(selectors.begin(), selectors.end(),
                     [&](IValue* p) { return p->GetNode() == pSelectorNode; });
}

bool CValueArrayAdapterBase::IsAdvertised(IValue* pValue, IInteger* pSelector) {
  if (!pValue || !pSelector) return false;
  INodeMap* const pNodeMap = pValue->GetNode()->GetNodeMap();
  auto* pCandidates = dynamic_cast<IString*>(pNodeMap->GetNode("ValueArrayCandidates"));
  if (!pCandidates || !IsReadable(pCandidates)) return false;
  const GENICAM_NAMESPACE::gcstring list = pCandidates->GetValue();
  GENICAM_NAMESPACE::gcstring_vector pairs;
  GENICAM_NAMESPACE::Tokenize(list.substr(0, list.find('#')), pairs, ", \t\r\n");
  return pairs.contains(pValue->GetNode()->GetName() + "[" + pSelector->GetNode()->GetName() + "]");
}

void CValueArrayAdapterBase::Sweep() {
  const AutoLock lock(m_pSelector->GetNode()->GetNodeMap()->GetLock());
  const int64_t before = m_pSelector->GetValue();
  const auto restore = [&] { m_pSelector->SetValue(before); };
  const int64_t last = m_pSelector->GetMax();
  const int64_t step = std::max<int64_t>(m_pSelector->GetInc(), 1);
  const int64_t first = m_pSelector->GetMin();
  if (last < first) return;
  const uint64_t count = (uint64_t(last) - uint64_t(first)) / uint64_t(step) + 1;
  if (count > OrvexGenApi::sk_maxSelectorSteps) {
    throw RUNTIME_EXCEPTION("Selector '%s' has too many values",
                            m_pSelector->GetNode()->GetName().c_str());
  }
  try {
    for (uint64_t i = 0; i < count; ++i) {
      m_pSelector->SetValue(int64_t(uint64_t(first) + i * uint64_t(step)));
      Take();
    }
  } catch (...) {
    restore();
    throw;
  }
  restore();
}

}  // namespace GENAPI_NAMESPACE
