#pragma once
// SPDX-License-Identifier: Apache-2.0
// Settings of a node map kept as names and values, in memory and as text files. One thread at a
// time per object; the node map is locked while it is stored from or loaded into.

#include <istream>
#include <memory>
#include <ostream>
#include <vector>

#include <Base/GCString.h>
#include <Base/GCStringVector.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IValue.h>
#include <GenApi/SelectorSet.h>

// What the first line of a file holds: one bag, or several.
#define GENAPI_PERSISTENCE_MAGIC               "{05D8C294-F295-4dfb-9D01-096BD04049F4}"
#define GENAPI_PERSISTENCE_MAGIC_FEATUREBAGGER "{4709CB3C-7322-4460-84C3-DA11DDA09939}"

namespace OrvexGenApi {
struct FeatureBagContent;
}

namespace GENAPI_NAMESPACE {

// Where features are put by name and value.
GENICAM_INTERFACE GENAPI_DECL_ABSTRACT IPersistScript {
  // A line of text about the device, kept as a comment.
  virtual void SetInfo(const GENICAM_NAMESPACE::gcstring& Info) = 0;
  // Adds the feature's present value; with a selector set, its present combination too.
  virtual void PersistFeature(IValue & item, CSelectorSet* selectorSet = nullptr) = 0;

 protected:
  ~IPersistScript() = default;
};

// The settings of one node map.
class GENAPI_DECL CFeatureBag : public IPersistScript {
 public:
  CFeatureBag();
  CFeatureBag(const CFeatureBag&);
  CFeatureBag& operator=(const CFeatureBag&);
  virtual ~CFeatureBag();

  void SetInfo(const GENICAM_NAMESPACE::gcstring& Info) override;
  void PersistFeature(IValue& item, CSelectorSet* selectorSet = nullptr) override;

  // Writes all values to the node map, in their order, and those that were refused again once the
  // others are in place; selectors are put back unless the bag itself sets them. Verify checks
  // ranges and reads everything back in the end. True when every value was taken. With a list, what
  // failed is added to it; without, the first failure is thrown.
  bool LoadFromBag(INodeMap* pNodeMap, bool Verify = true,
                   GENICAM_NAMESPACE::gcstring_vector* pErrorList = nullptr);
  // Empties the bag, then stores the streamable features that can be read and written, for every
  // combination of their selectors: those that can be reached from the root category, or those that
  // the filter names. Answers the number of entries. At most MaxNumPersistSkriptEntries are stored;
  // -1 is no limit. Left out are values that the text format cannot hold (empty ones, line breaks),
  // those that the device cannot name (no entry of the enumeration), and features with more than
  // 262144 combinations of selectors.
  int64_t StoreToBag(INodeMap* pNodeMap, const int MaxNumPersistSkriptEntries = -1,
                     GENICAM_NAMESPACE::gcstring_vector* pFeatureFilter = nullptr);

  // Same names, selectors and values in the same order.
  bool operator==(const CFeatureBag& FeatureBag) const;
  // The text that operator<< writes.
  virtual GENICAM_NAMESPACE::gcstring ToString() const;
  // Frees an object that was made with new.
  virtual void Destroy();

  const GENICAM_NAMESPACE::gcstring& GetBagName() const;
  void SetBagName(const GENICAM_NAMESPACE::gcstring& bagName);

  // Replaces the bag by the file's; the bag is unchanged when the text is refused with
  // RuntimeException.
  friend GENAPI_DECL std::istream& operator>>(std::istream& is, CFeatureBag& FeatureBag);
  friend GENAPI_DECL std::ostream& operator<<(std::ostream& os, const CFeatureBag& FeatureBag);

 private:
  friend class CFeatureBagger;
  struct Impl;
  std::unique_ptr<Impl> m_pImpl;
};

GENAPI_DECL std::istream& operator>>(std::istream& is, CFeatureBag& FeatureBag);
GENAPI_DECL std::ostream& operator<<(std::ostream& os, const CFeatureBag& FeatureBag);

// Several bags: the present settings, and the sets that the device itself keeps.
class GENAPI_DECL CFeatureBagger {
 public:
  typedef std::vector<CFeatureBag>::const_iterator const_iterator;

  CFeatureBagger();
  CFeatureBagger(const CFeatureBagger&) = delete;
  CFeatureBagger& operator=(const CFeatureBagger&) = delete;
  virtual ~CFeatureBagger();

  // Fills the bags; each set of the device is loaded, stored, and the present settings are put back
  // at the end. Answers the number of bags.
  size_t Bag(INodeMap* pNodeMap, bool handleDefaultNodeMap = true, bool handleUserSets = false,
             bool handleSequencerSets = false, const int MaxNumPersistSkriptEntries = -1);
  // Puts the bags back: the device's sets first, each saved by the device, then the present
  // settings. Result and errors as LoadFromBag.
  bool UnBag(INodeMap* pNodeMap, bool Verify = true,
             GENICAM_NAMESPACE::gcstring_vector* pErrorList = nullptr);
  void SetInfo(const GENICAM_NAMESPACE::gcstring& Info);

  const_iterator begin() const;
  const_iterator end() const;
  // OutOfRangeException when there is no such bag.
  const CFeatureBag& at(size_t uiIndex) const;
  size_t size() const;

  friend GENAPI_DECL std::ostream& operator<<(std::ostream& os,
                                              const CFeatureBagger& featureBagger);
  // A file with one bag gives one bag named "All".
  friend GENAPI_DECL std::istream& operator>>(std::istream& is, CFeatureBagger& featureBagger);

 private:
  static OrvexGenApi::FeatureBagContent* Content(const CFeatureBag& bag);

  std::vector<CFeatureBag> m_bags;
  GENICAM_NAMESPACE::gcstring m_info;
};

GENAPI_DECL std::ostream& operator<<(std::ostream& os, const CFeatureBagger& featureBagger);
GENAPI_DECL std::istream& operator>>(std::istream& is, CFeatureBagger& featureBagger);

// Skips lines that start with '#'; the stream stands before the first other line then.
GENAPI_DECL std::istream& EatComments(std::istream& is);

}  // namespace GENAPI_NAMESPACE
