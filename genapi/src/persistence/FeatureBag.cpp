// SPDX-License-Identifier: Apache-2.0
// Storing the settings of a node map in a bag and writing them back.

#include <GenApi/Persistence.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <map>
#include <set>
#include <sstream>

#include <Base/GCException.h>
#include <GenApi/IBoolean.h>
#include <GenApi/ICategory.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INode.h>

#include "adapters/Limits.h"
#include "persistence/FeatureFile.h"
#include "persistence/NodeAccess.h"

namespace GENAPI_NAMESPACE {

namespace {

using GENICAM_NAMESPACE::gcstring;
using GENICAM_NAMESPACE::gcstring_vector;
using GENICAM_NAMESPACE::GenericException;
using OrvexGenApi::FeatureEntry;

std::string Std(const gcstring& text) {
  return std::string(text.c_str(), text.size());
}
gcstring Gc(const std::string& text) {
  return gcstring(text.data(), text.size());
}

INodeMap& Checked(INodeMap* pNodeMap) {
  if (!pNodeMap) throw INVALID_ARGUMENT_EXCEPTION("The node map is null");
  return *pNodeMap;
}

// Brackets a procedure with two commands of the device. Their failures don't fail the procedure:
// the values decide.
class Bracket {
 public:
  Bracket(INodeMap& nodeMap, const char* pStart, const char* pEnd)
      : m_nodeMap(nodeMap), m_pEnd(pEnd) {
    TryRun(pStart);
  }
  ~Bracket() { TryRun(m_pEnd); }

 private:
  void TryRun(const char* pName) const {
    try {
      if (auto* pCommand = OrvexGenApi::FindExecutable(m_nodeMap, pName)) {
        OrvexGenApi::ExecuteAndWait(*pCommand, pName);
      }
    } catch (...) {
    }
  }
  INodeMap& m_nodeMap;
  const char* m_pEnd;
};

// Selectors are put back when a walk ends early.
class RestoreGuard {
 public:
  explicit RestoreGuard(CSelectorSet& selectors) : m_selectors(selectors) {}
  ~RestoreGuard() {
    try {
      m_selectors.Restore();
    } catch (...) {
    }
  }

 private:
  CSelectorSet& m_selectors;
};

// Streamable features in the order of the tree below a category.
void CollectFeatures(ICategory& category, std::set<IBase*>& seen, std::vector<IValue*>& found) {
  FeatureList_t features;
  category.GetFeatures(features);
  for (IValue* pFeature : features) {
    if (!seen.insert(pFeature->GetNode()).second) continue;
    if (auto* pCategory = dynamic_cast<ICategory*>(pFeature)) {
      CollectFeatures(*pCategory, seen, found);
    } else if (pFeature->GetNode()->IsStreamable()) {
      found.push_back(pFeature);
    }
  }
}

std::vector<IValue*> FindFeatures(INodeMap& nodeMap, const gcstring_vector* pFilter) {
  std::vector<IValue*> found;
  const auto addStreamable = [&](INode* pNode) {
    auto* pValue = dynamic_cast<IValue*>(pNode);
    if (pValue && pNode->IsStreamable()) found.push_back(pValue);
  };
  if (pFilter) {
    for (const gcstring& name : *pFilter) addStreamable(nodeMap.GetNode(name));
  } else if (auto* pRoot = dynamic_cast<ICategory*>(nodeMap.GetNode("Root"))) {
    std::set<IBase*> seen{nodeMap.GetNode("Root")};
    CollectFeatures(*pRoot, seen, found);
  } else {
    NodeList_t nodes;
    nodeMap.GetNodes(nodes);
    for (INode* pNode : nodes) addStreamable(pNode);
  }
  return found;
}

bool CanNameSelectors(CSelectorSet* pSelectors) {
  FeatureList_t list;
  if (pSelectors) pSelectors->GetSelectorList(list);
  return std::all_of(list.begin(), list.end(), [](IValue* pSelector) {
    return !IsReadable(pSelector) || OrvexGenApi::TryRead(*pSelector);
  });
}

bool IsReadWrite(IValue& value) {
  return value.GetAccessMode() == RW;
}

FeatureEntry MakeEntry(IValue& item, CSelectorSet* pSelectors) {
  FeatureEntry entry;
  entry.Name = Std(item.GetNode()->GetName());
  entry.Value = Std(item.ToString());
  CSelectorState state;
  if (pSelectors) pSelectors->GetState(state);
  for (bool isMore = state.SetFirst(); isMore; isMore = state.SetNext()) {
    entry.Selectors.emplace_back(Std(state.GetNodeName()), Std(state.GetNodeValue()));
  }
  return entry;
}

// Whether the text of a value that was written and that of the value read back mean the same.
// Devices round floats to what they can do; the text keeps only the digits that are shown.
bool IsSameValue(IValue& item, const std::string& written, const std::string& read) {
  constexpr double sk_floatTolerance = 1e-3;
  if (written == read) return true;
  char* pWrittenEnd = nullptr;
  char* pReadEnd = nullptr;
  if (dynamic_cast<IFloat*>(&item)) {
    const double a = std::strtod(written.c_str(), &pWrittenEnd);
    const double b = std::strtod(read.c_str(), &pReadEnd);
    return !*pWrittenEnd && !*pReadEnd &&
           std::fabs(a - b) <= sk_floatTolerance * std::max(std::fabs(a), std::fabs(b));
  }
  if (dynamic_cast<IInteger*>(&item)) {
    const long long a = std::strtoll(written.c_str(), &pWrittenEnd, 0);
    const long long b = std::strtoll(read.c_str(), &pReadEnd, 0);
    return !*pWrittenEnd && !*pReadEnd && a == b;
  }
  if (dynamic_cast<IBoolean*>(&item)) {
    const auto isTrue = [](const std::string& text) {
      return text == "1" || text == "true" || text == "True";
    };
    return isTrue(written) == isTrue(read);
  }
  return false;
}

// Writes the entries of one bag to a node map, in passes.
class Loader {
 public:
  Loader(INodeMap& nodeMap, const std::vector<FeatureEntry>& entries, bool verify)
      : m_nodeMap(nodeMap), m_entries(entries), m_verify(verify) {
    for (const FeatureEntry& entry : entries) {
      if (entry.Selectors.empty() && ++m_plainCount[entry.Name] > 1) m_passes = 1;
    }
  }

  // Errors, the first of them also as exception; both empty when everything was taken.
  void Load() {
    std::vector<size_t> pending(m_entries.size());
    for (size_t i = 0; i < pending.size(); ++i) pending[i] = i;
    for (int pass = 0; !pending.empty() && pass < m_passes; ++pass) {
      const size_t before = pending.size();
      m_failures.clear();
      for (const size_t i : pending) Attempt(i, [&] { WriteEntry(m_entries[i]); });
      const bool isStuck = pass > 0 && m_failures.size() >= before;
      if (m_verify && (m_failures.empty() || isStuck || pass + 1 == m_passes)) Compare();
      pending.clear();
      for (const Failure& failure : m_failures) pending.push_back(failure.Index);
      std::sort(pending.begin(), pending.end());
      if (isStuck || (pass > 0 && pending.size() >= before)) break;
    }
    RestoreSelectors();
    std::stable_sort(m_failures.begin(), m_failures.end(),
                     [](const Failure& a, const Failure& b) { return a.Index < b.Index; });
  }

  struct Failure {
    size_t Index;  // of the entry; behind the last for selectors
    gcstring Text;
    std::exception_ptr Error;
  };
  const std::vector<Failure>& Failures() const { return m_failures; }

 private:
  template <class Action>
  void Attempt(size_t index, Action action) {
    try {
      action();
    } catch (const GenericException& error) {
      const std::string name = index < m_entries.size() ? m_entries[index].Name : "selectors";
      m_failures.push_back(
          {index, Gc(name) + ": " + error.GetDescription(), std::current_exception()});
    }
  }

  IValue& Find(const std::string& name) {
    auto* pValue = dynamic_cast<IValue*>(m_nodeMap.GetNode(Gc(name)));
    if (!pValue) throw RUNTIME_EXCEPTION("Node '%s' not found", name.c_str());
    return *pValue;
  }

  void SetSelector(const std::string& name, const std::string& value) {
    IValue& selector = Find(name);
    if (!IsReadable(&selector) || Std(selector.ToString()) != value) selector.FromString(Gc(value));
  }

  void SetSelectors(const FeatureEntry& entry) {
    for (const auto& [name, value] : entry.Selectors) {
      const auto isKnown = [&selector = name](const auto& pair) { return pair.first == selector; };
      if (std::none_of(m_selectors.begin(), m_selectors.end(), isKnown)) {
        IValue& selector = Find(name);
        if (IsReadable(&selector)) m_selectors.emplace_back(name, Std(selector.ToString()));
      }
      SetSelector(name, value);
    }
  }

  void WriteEntry(const FeatureEntry& entry) {
    IValue& item = Find(entry.Name);
    SetSelectors(entry);
    item.FromString(Gc(entry.Value), m_verify);
    if (entry.Selectors.empty()) m_plainLast[entry.Name] = entry.Value;
  }

  // A selector keeps the bag's own value for it, or else what it had before. Outer ones come first,
  // so that the values of inner ones go where they were taken from.
  void RestoreSelectors() {
    const auto attempt = [&](const std::string& name, const std::string& value) {
      Attempt(m_entries.size(), [&] { SetSelector(name, value); });
    };
    for (const auto& [name, value] : m_selectors) attempt(name, value);
    for (const auto& [name, value] : m_selectors) {
      const auto own = m_plainLast.find(name);
      if (own != m_plainLast.end()) attempt(name, own->second);
    }
  }

  // Reads everything back that has not failed yet.
  void Compare() {
    std::vector<bool> isFailed(m_entries.size());
    for (const Failure& failure : m_failures) isFailed[failure.Index] = true;
    for (size_t i = 0; i < m_entries.size(); ++i) {
      if (isFailed[i]) continue;
      Attempt(i, [&] {
        const FeatureEntry& entry = m_entries[i];
        if (IsSwept(entry) || IsSelector(entry)) return;
        SetSelectors(entry);
        IValue& item = Find(entry.Name);
        if (!IsReadable(&item)) return;
        const std::string read = Std(item.ToString(false, true));
        if (!IsSameValue(item, entry.Value, read)) {
          throw RUNTIME_EXCEPTION("the value is '%s' after writing '%s'", read.c_str(),
                                  entry.Value.c_str());
        }
      });
    }
  }

  // Selectors are put where they belong in the end, not before.
  bool IsSelector(const FeatureEntry& entry) const {
    const auto isSame = [&](const auto& pair) { return pair.first == entry.Name; };
    return std::any_of(m_selectors.begin(), m_selectors.end(), isSame);
  }

  // Files without braces sweep selectors and features by repeating them as plain entries.
  bool IsSwept(const FeatureEntry& entry) const {
    const auto found = m_plainCount.find(entry.Name);
    return entry.Selectors.empty() && found != m_plainCount.end() && found->second > 1;
  }

  INodeMap& m_nodeMap;
  const std::vector<FeatureEntry>& m_entries;
  const bool m_verify;
  std::vector<Failure> m_failures;
  // Selectors that were set for an entry, with the values they had before, as they were met.
  std::vector<std::pair<std::string, std::string>> m_selectors;
  std::map<std::string, std::string> m_plainLast;  // values of entries without selectors
  std::map<std::string, size_t> m_plainCount;
  // One only for files that mean something by their order alone.
  int m_passes = OrvexGenApi::sk_maxLoadPasses;
};

}  // namespace

CFeatureBag::CFeatureBag() : m_pImpl(std::make_unique<Impl>()) {}
CFeatureBag::CFeatureBag(const CFeatureBag& other)
    : m_pImpl(std::make_unique<Impl>(*other.m_pImpl)) {}
CFeatureBag::~CFeatureBag() = default;

CFeatureBag& CFeatureBag::operator=(const CFeatureBag& other) {
  *m_pImpl = Impl(*other.m_pImpl);
  return *this;
}

void CFeatureBag::SetInfo(const gcstring& Info) {
  m_pImpl->Info = Std(Info);
}

void CFeatureBag::PersistFeature(IValue& item, CSelectorSet* selectorSet) {
  m_pImpl->Entries.push_back(MakeEntry(item, selectorSet));
}

bool CFeatureBag::LoadFromBag(INodeMap* pNodeMap, bool Verify, gcstring_vector* pErrorList) {
  const AutoLock lock(Checked(pNodeMap).GetLock());
  Loader loader(*pNodeMap, m_pImpl->Entries, Verify);
  {
    const Bracket bracket(*pNodeMap, "DeviceRegistersStreamingStart",
                          "DeviceRegistersStreamingEnd");
    loader.Load();
  }
  if (loader.Failures().empty()) return true;
  if (!pErrorList) std::rethrow_exception(loader.Failures().front().Error);
  for (const Loader::Failure& failure : loader.Failures()) pErrorList->push_back(failure.Text);
  return false;
}

int64_t CFeatureBag::StoreToBag(INodeMap* pNodeMap, const int MaxNumPersistSkriptEntries,
                                gcstring_vector* pFeatureFilter) {
  const AutoLock lock(Checked(pNodeMap).GetLock());
  const Bracket bracket(*pNodeMap, "DeviceFeaturePersistenceStart", "DeviceFeaturePersistenceEnd");
  std::vector<FeatureEntry> entries;
  const size_t most = MaxNumPersistSkriptEntries < 0 ? OrvexGenApi::sk_maxEntries
                                                     : size_t(MaxNumPersistSkriptEntries);
  const auto store = [&](IValue& item, CSelectorSet* pSelectors) {
    // A value or a selector that the device cannot name now cannot be set later either.
    if (!IsReadWrite(item) || !OrvexGenApi::TryRead(item) || !CanNameSelectors(pSelectors)) return;
    FeatureEntry entry = MakeEntry(item, pSelectors);
    if (OrvexGenApi::IsStorable(entry.Value)) entries.push_back(std::move(entry));
  };
  for (IValue* pItem : FindFeatures(*pNodeMap, pFeatureFilter)) {
    CSelectorSet selectors(pItem);
    if (selectors.IsEmpty()) {
      if (entries.size() < most) store(*pItem, nullptr);
      continue;
    }
    const RestoreGuard guard(selectors);
    const size_t before = entries.size();
    size_t steps = 0;
    for (bool isMore = selectors.SetFirst(); isMore && entries.size() < most;
         isMore = selectors.SetNext()) {
      if (++steps > OrvexGenApi::sk_maxSelectorSteps) {
        entries.resize(before);
        break;
      }
      store(*pItem, &selectors);
    }
  }
  m_pImpl->Entries = std::move(entries);
  return int64_t(m_pImpl->Entries.size());
}

bool CFeatureBag::operator==(const CFeatureBag& FeatureBag) const {
  return m_pImpl->Entries == FeatureBag.m_pImpl->Entries;
}

gcstring CFeatureBag::ToString() const {
  std::ostringstream text;
  text << *this;
  return Gc(text.str());
}

void CFeatureBag::Destroy() {
  delete this;
}

const gcstring& CFeatureBag::GetBagName() const {
  return m_pImpl->BagName;
}

void CFeatureBag::SetBagName(const gcstring& bagName) {
  m_pImpl->BagName = bagName;
}

std::istream& operator>>(std::istream& is, CFeatureBag& FeatureBag) {
  OrvexGenApi::FeatureBagContent content = OrvexGenApi::ReadBag(is);
  FeatureBag.m_pImpl->Entries = std::move(content.Entries);
  FeatureBag.m_pImpl->Info.clear();
  return is;
}

std::ostream& operator<<(std::ostream& os, const CFeatureBag& FeatureBag) {
  OrvexGenApi::WriteBag(os, *FeatureBag.m_pImpl);
  return os;
}

}  // namespace GENAPI_NAMESPACE
