// SPDX-License-Identifier: Apache-2.0
// Selectors of a feature as a counter, and their values at one moment.

#include <GenApi/SelectorSet.h>
#include <GenApi/SelectorState.h>

#include <algorithm>
#include <optional>

#include <Base/GCException.h>
#include <GenApi/IBoolean.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IInteger.h>
#include <GenApi/INode.h>
#include <GenApi/ISelector.h>

#include "persistence/NodeAccess.h"

namespace GENAPI_NAMESPACE {

namespace {

using GENICAM_NAMESPACE::gcstring;

// One selector. It keeps the value that it found when it was put on its first value, and puts it
// back when it runs out of values: an inner selector may have a value of its own for every value of
// an outer one.
class Digit : public ISelectorDigit {
 public:
  explicit Digit(IValue& selector) : m_selector(selector) {}

  bool SetFirst() override {
    Restore();
    if (!IsWritable(&m_selector) || !IsReadable(&m_selector)) return true;  // stays where it is
    // A selector without a value of its own could not be put back: it stays where it is, too.
    m_original = OrvexGenApi::TryRead(m_selector);
    if (!m_original) return true;
    Rewind();
    return SetNext(true);
  }

  bool SetNext(bool Tick) override {
    if (!Tick) return true;
    if (!m_original) return false;
    while (std::optional<gcstring> text = NextValue()) {
      if (TrySet(*text)) return true;
    }
    Restore();
    return false;
  }

  void Restore() override {
    if (!m_original) return;
    const gcstring original = *m_original;
    m_original.reset();
    // A device may stand on a value that it does not offer; then there is no way back.
    TrySet(original);
  }

  gcstring ToString() override {
    if (!IsReadable(&m_selector)) return gcstring();
    return m_selector.GetNode()->GetName() + "=" + m_selector.ToString();
  }

  void GetState(CSelectorState& state) override {
    if (IsReadable(&m_selector)) state.AddSelector(m_selector);
  }

  void GetSelectorList(FeatureList_t& SelectorList, bool Incremental) override {
    if (!Incremental) SelectorList.clear();
    if (std::find(SelectorList.begin(), SelectorList.end(), &m_selector) == SelectorList.end()) {
      SelectorList.push_back(&m_selector);
    }
  }

 private:
  // Lists or bounds the values that the selector has now.
  void Rewind() {
    m_texts.clear();
    m_at = 0;
    m_range.reset();
    if (auto* pEnumeration = dynamic_cast<IEnumeration*>(&m_selector)) {
      StringList_t symbolics;
      pEnumeration->GetSymbolics(symbolics);
      m_texts.assign(symbolics.begin(), symbolics.end());
    } else if (dynamic_cast<IBoolean*>(&m_selector)) {
      m_texts = {"0", "1"};
    } else if (auto* pInteger = dynamic_cast<IInteger*>(&m_selector)) {
      if (pInteger->GetIncMode() == listIncrement) {
        for (const int64_t value : pInteger->GetListOfValidValues()) {
          m_texts.push_back(std::to_string(value).c_str());
        }
      } else {
        m_range =
            Range{pInteger->GetMin(), pInteger->GetMax(), std::max<int64_t>(pInteger->GetInc(), 1)};
      }
    }
  }

  std::optional<gcstring> NextValue() {
    if (!m_range) {
      if (m_at == m_texts.size()) return std::nullopt;
      return m_texts[m_at++];
    }
    if (m_range->Next > m_range->Last) return std::nullopt;
    const gcstring text = std::to_string(m_range->Next).c_str();
    if (m_range->Last - m_range->Step < m_range->Next) {
      m_range.reset();  // that was the last one; the list of texts is empty
    } else {
      m_range->Next += m_range->Step;
    }
    return text;
  }

  // False when the device does not allow the value at the moment.
  bool TrySet(const gcstring& text) {
    try {
      if (OrvexGenApi::TryRead(m_selector) != text) m_selector.FromString(text);
      return true;
    } catch (const GENICAM_NAMESPACE::AccessException&) {
    } catch (const GENICAM_NAMESPACE::OutOfRangeException&) {
    } catch (const GENICAM_NAMESPACE::InvalidArgumentException&) {
    }
    return false;
  }

  struct Range {
    int64_t Next;
    int64_t Last;
    int64_t Step;
  };

  IValue& m_selector;
  std::optional<gcstring> m_original;  // set while the digit counts
  std::vector<gcstring> m_texts;
  size_t m_at = 0;
  std::optional<Range> m_range;
};

// Adds the selectors of a feature, those that they depend on first.
void Collect(IBase* pBase, std::vector<IValue*>& selectors, std::vector<IBase*>& seen) {
  auto* pSelected = dynamic_cast<ISelector*>(pBase);
  if (!pSelected || std::find(seen.begin(), seen.end(), pBase) != seen.end()) return;
  seen.push_back(pBase);
  FeatureList_t list;
  pSelected->GetSelectingFeatures(list);
  for (IValue* pSelector : list) {
    Collect(pSelector, selectors, seen);
    if (std::find(selectors.begin(), selectors.end(), pSelector) == selectors.end()) {
      selectors.push_back(pSelector);
    }
  }
}

}  // namespace

CSelectorSet::CSelectorSet(IBase* pBase) {
  std::vector<IValue*> selectors;
  std::vector<IBase*> seen;
  Collect(pBase, selectors, seen);
  for (IValue* pSelector : selectors) {
    if (pSelector && dynamic_cast<IBase*>(pSelector) != pBase) {
      m_digits.push_back(std::make_unique<Digit>(*pSelector));
    }
  }
}

CSelectorSet::~CSelectorSet() = default;

bool CSelectorSet::IsEmpty() {
  return m_digits.empty();
}

bool CSelectorSet::SetFirst() {
  Restore();
  m_standing = Settle(0);
  return m_standing;
}

bool CSelectorSet::SetNext(bool Tick) {
  if (!Tick || !m_standing) return m_standing;
  size_t i = m_digits.size();
  while (i > 0 && !m_digits[i - 1]->SetNext()) --i;
  m_standing = i > 0 && Settle(i);
  return m_standing;
}

// Puts all digits from the given one on their first values. Where one has none, the nearest before
// it that can moves on.
bool CSelectorSet::Settle(size_t from) {
  for (size_t i = from; i < m_digits.size();) {
    if (m_digits[i]->SetFirst()) {
      ++i;
      continue;
    }
    while (i > 0 && !m_digits[i - 1]->SetNext()) --i;
    if (i == 0) return false;
  }
  return true;
}

void CSelectorSet::Restore() {
  // Inner ones first: their values belong to the present values of the outer ones.
  for (auto i = m_digits.rbegin(); i != m_digits.rend(); ++i) (*i)->Restore();
  m_standing = false;
}

gcstring CSelectorSet::ToString() {
  gcstring result;
  for (const auto& pDigit : m_digits) {
    const gcstring text = pDigit->ToString();
    if (!result.empty() && !text.empty()) result += "\t";
    result += text;
  }
  return result;
}

void CSelectorSet::GetState(CSelectorState& state) {
  for (const auto& pDigit : m_digits) pDigit->GetState(state);
}

void CSelectorSet::GetSelectorList(FeatureList_t& SelectorList, bool Incremental) {
  if (!Incremental) SelectorList.clear();
  for (const auto& pDigit : m_digits) pDigit->GetSelectorList(SelectorList, true);
}

CSelectorState::CSelectorState() = default;

bool CSelectorState::SetFirst() {
  m_at = 0;
  return !m_entries.empty();
}

bool CSelectorState::SetNext() {
  if (m_at < m_entries.size()) ++m_at;
  return m_at < m_entries.size();
}

void CSelectorState::AddSelector(IValue& item) {
  AddSelector(item.GetNode()->GetName(), item.ToString());
}
void CSelectorState::AddSelector(gcstring name, gcstring value) {
  m_entries.emplace_back(name, value);
}

const CSelectorState::Entry& CSelectorState::Current() const {
  if (m_at >= m_entries.size()) throw LOGICAL_ERROR_EXCEPTION("There is no further selector");
  return m_entries[m_at];
}

gcstring CSelectorState::GetNodeName() {
  return Current().first;
}
gcstring CSelectorState::GetNodeValue() {
  return Current().second;
}
bool CSelectorState::IsEmpty() {
  return m_entries.empty();
}

bool CSelectorState::RestoreState(INodeMap* pNodeMap,
                                  GENICAM_NAMESPACE::gcstring_vector* pErrorList) {
  bool isGood = true;
  for (const auto& [name, value] : m_entries) {
    try {
      auto* pSelector = dynamic_cast<IValue*>(pNodeMap->GetNode(name));
      if (!pSelector) throw RUNTIME_EXCEPTION("Selector '%s' not found", name.c_str());
      if (!IsReadable(pSelector) || pSelector->ToString() != value) pSelector->FromString(value);
    } catch (const GENICAM_NAMESPACE::GenericException& error) {
      if (!pErrorList) throw;
      pErrorList->push_back(error.GetDescription());
      isGood = false;
    }
  }
  return isGood;
}

}  // namespace GENAPI_NAMESPACE
