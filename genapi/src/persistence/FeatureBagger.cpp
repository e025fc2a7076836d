// SPDX-License-Identifier: Apache-2.0
// Several bags: the present settings, and the sets that a device keeps by itself.

#include <GenApi/Persistence.h>

#include <string_view>

#include <Base/GCException.h>
#include <GenApi/INode.h>

#include "persistence/FeatureFile.h"
#include "persistence/NodeAccess.h"

namespace GENAPI_NAMESPACE {

namespace {

using GENICAM_NAMESPACE::gcstring;
using GENICAM_NAMESPACE::gcstring_vector;

constexpr const char* sk_defaultBag = "Default";
constexpr const char* sk_onlyBag = "All";

// A family of sets that a device keeps: how one is chosen, loaded and saved, and how bags of it are
// named: Prefix, then the selector's value.
struct SetFamily {
  const char* Prefix;
  const char* Selector;
  const char* Load;
  const char* Save;
  const char* Mode;  // node that must be "On" meanwhile, or null
};

constexpr SetFamily sk_userSets = {"UserSet/", "UserSetSelector", "UserSetLoad", "UserSetSave",
                                   nullptr};
constexpr SetFamily sk_sequencerSets = {"SequencerSet/", "SequencerSetSelector", "SequencerSetLoad",
                                        "SequencerSetSave", "SequencerConfigurationMode"};
constexpr const SetFamily* sk_families[] = {&sk_userSets, &sk_sequencerSets};

IValue* FindValue(INodeMap& nodeMap, const char* pName) {
  return dynamic_cast<IValue*>(nodeMap.GetNode(pName));
}

void Execute(INodeMap& nodeMap, const char* pName) {
  ICommand* pCommand = OrvexGenApi::FindExecutable(nodeMap, pName);
  if (!pCommand) throw ACCESS_EXCEPTION("Command '%s' cannot be executed", pName);
  OrvexGenApi::ExecuteAndWait(*pCommand, pName);
}

// Holds a mode node at "On" for its own lifetime.
class ModeGuard {
 public:
  ModeGuard(INodeMap& nodeMap, const char* pMode) {
    IValue* pValue = pMode ? FindValue(nodeMap, pMode) : nullptr;
    if (!pValue || !IsWritable(pValue) || !IsReadable(pValue)) return;
    m_before = pValue->ToString();
    if (m_before == "On") return;
    pValue->FromString("On");
    m_pValue = pValue;
  }
  ~ModeGuard() {
    try {
      if (m_pValue) m_pValue->FromString(m_before);
    } catch (...) {
    }
  }

 private:
  IValue* m_pValue = nullptr;
  gcstring m_before;
};

void BagSets(INodeMap& nodeMap, const SetFamily& family, int most, std::vector<CFeatureBag>& bags) {
  IValue* pSelector = FindValue(nodeMap, family.Selector);
  if (!pSelector || !IsReadable(pSelector)) return;
  const ModeGuard mode(nodeMap, family.Mode);
  // The walk must be over the selector itself, so it is taken as the selector of its own load
  // command.
  CSelectorSet selectors(nodeMap.GetNode(family.Load));
  const gcstring before = pSelector->ToString();
  for (bool isMore = selectors.SetFirst(); isMore; isMore = selectors.SetNext()) {
    // Sets that cannot be saved, such as the factory's, need no bag.
    if (!OrvexGenApi::FindExecutable(nodeMap, family.Load) ||
        !OrvexGenApi::FindExecutable(nodeMap, family.Save))
      continue;
    const gcstring set = pSelector->ToString();
    Execute(nodeMap, family.Load);
    CFeatureBag bag;
    bag.StoreToBag(&nodeMap, most);
    bag.SetBagName(gcstring(family.Prefix) + set);
    bags.push_back(bag);
    if (selectors.IsEmpty()) break;
  }
  if (pSelector->ToString() != before) pSelector->FromString(before);
}

// Loads one bag of a family and lets the device save it under the selector's value that the bag's
// name carries.
void UnBagSet(INodeMap& nodeMap, const SetFamily& family, CFeatureBag& bag, const gcstring& set,
              bool verify, gcstring_vector* pErrorList, bool& isGood) {
  const ModeGuard mode(nodeMap, family.Mode);
  isGood = bag.LoadFromBag(&nodeMap, verify, pErrorList) && isGood;
  IValue* pSelector = FindValue(nodeMap, family.Selector);
  if (!pSelector) throw RUNTIME_EXCEPTION("Selector '%s' not found", family.Selector);
  const gcstring before = pSelector->ToString();
  pSelector->FromString(set);
  Execute(nodeMap, family.Save);
  pSelector->FromString(before);
}

const SetFamily* FamilyOf(const gcstring& bagName, gcstring& set) {
  const std::string_view name(bagName.c_str(), bagName.size());
  for (const SetFamily* pFamily : sk_families) {
    const std::string_view prefix = pFamily->Prefix;
    if (name.starts_with(prefix)) {
      set = bagName.substr(prefix.size());
      return pFamily;
    }
  }
  return nullptr;
}

}  // namespace

CFeatureBagger::CFeatureBagger() = default;
CFeatureBagger::~CFeatureBagger() = default;

size_t CFeatureBagger::Bag(INodeMap* pNodeMap, bool handleDefaultNodeMap, bool handleUserSets,
                           bool handleSequencerSets, const int MaxNumPersistSkriptEntries) {
  if (!pNodeMap) throw INVALID_ARGUMENT_EXCEPTION("The node map is null");
  const AutoLock lock(pNodeMap->GetLock());
  std::vector<CFeatureBag> bags;
  CFeatureBag present;
  present.StoreToBag(pNodeMap, MaxNumPersistSkriptEntries);
  present.SetBagName(sk_defaultBag);
  if (handleDefaultNodeMap) bags.push_back(present);
  if (handleUserSets) BagSets(*pNodeMap, sk_userSets, MaxNumPersistSkriptEntries, bags);
  if (handleSequencerSets) BagSets(*pNodeMap, sk_sequencerSets, MaxNumPersistSkriptEntries, bags);
  if (handleUserSets || handleSequencerSets) {
    gcstring_vector ignored;
    CFeatureBag(present).LoadFromBag(pNodeMap, false, &ignored);
  }
  m_bags = std::move(bags);
  return m_bags.size();
}

bool CFeatureBagger::UnBag(INodeMap* pNodeMap, bool Verify, gcstring_vector* pErrorList) {
  if (!pNodeMap) throw INVALID_ARGUMENT_EXCEPTION("The node map is null");
  const AutoLock lock(pNodeMap->GetLock());
  bool isGood = true;
  const auto attempt = [&](auto action) {
    try {
      action();
    } catch (const GENICAM_NAMESPACE::GenericException& error) {
      if (!pErrorList) throw;
      pErrorList->push_back(error.GetDescription());
      isGood = false;
    }
  };
  std::vector<CFeatureBag*> last;
  for (CFeatureBag& bag : m_bags) {
    gcstring set;
    const SetFamily* pFamily = FamilyOf(bag.GetBagName(), set);
    if (pFamily) {
      attempt([&] { UnBagSet(*pNodeMap, *pFamily, bag, set, Verify, pErrorList, isGood); });
    } else if (bag.GetBagName() == sk_defaultBag || bag.GetBagName() == sk_onlyBag) {
      last.push_back(&bag);
    } else {
      attempt([&] {
        throw RUNTIME_EXCEPTION("Bag '%s' is of no known kind", bag.GetBagName().c_str());
      });
    }
  }
  for (CFeatureBag* pBag : last) {
    attempt([&] { isGood = pBag->LoadFromBag(pNodeMap, Verify, pErrorList) && isGood; });
  }
  return isGood;
}

void CFeatureBagger::SetInfo(const gcstring& Info) {
  m_info = Info;
}

CFeatureBagger::const_iterator CFeatureBagger::begin() const {
  return m_bags.begin();
}
CFeatureBagger::const_iterator CFeatureBagger::end() const {
  return m_bags.end();
}
size_t CFeatureBagger::size() const {
  return m_bags.size();
}

const CFeatureBag& CFeatureBagger::at(size_t uiIndex) const {
  if (uiIndex >= m_bags.size()) {
    throw OUT_OF_RANGE_EXCEPTION("There are %zu bags, not one of index %zu", m_bags.size(),
                                 uiIndex);
  }
  return m_bags[uiIndex];
}

std::ostream& operator<<(std::ostream& os, const CFeatureBagger& featureBagger) {
  std::vector<const OrvexGenApi::FeatureBagContent*> contents;
  for (const CFeatureBag& bag : featureBagger.m_bags)
    contents.push_back(CFeatureBagger::Content(bag));
  OrvexGenApi::WriteBags(os, featureBagger.m_info.c_str(), contents);
  return os;
}

std::istream& operator>>(std::istream& is, CFeatureBagger& featureBagger) {
  std::vector<CFeatureBag> bags;
  for (OrvexGenApi::FeatureBagContent& content : OrvexGenApi::ReadBags(is)) {
    *CFeatureBagger::Content(bags.emplace_back()) = std::move(content);
  }
  featureBagger.m_bags = std::move(bags);
  return is;
}

OrvexGenApi::FeatureBagContent* CFeatureBagger::Content(const CFeatureBag& bag) {
  return bag.m_pImpl.get();
}

std::istream& EatComments(std::istream& is) {
  while (is.peek() == '#') {
    for (int c = is.get(); c != '\n' && c != std::char_traits<char>::eof();) c = is.get();
  }
  return is;
}

}  // namespace GENAPI_NAMESPACE
