#pragma once
// SPDX-License-Identifier: Apache-2.0
// Names and values of selectors at one moment, to be put back later. A value type. One thread at a
// time.

#include <utility>
#include <vector>

#include <Base/GCString.h>
#include <Base/GCStringVector.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IValue.h>

namespace GENAPI_NAMESPACE {

class GENAPI_DECL CSelectorState {
 public:
  CSelectorState();

  // Walk over the entries: SetFirst, then SetNext as long as they answer true.
  bool SetFirst();
  bool SetNext();
  // Adds a selector with its present value.
  void AddSelector(IValue& item);
  void AddSelector(GENICAM_NAMESPACE::gcstring name, GENICAM_NAMESPACE::gcstring value);
  // Of the entry that the walk stands on; LogicalErrorException when it stands on none.
  GENICAM_NAMESPACE::gcstring GetNodeName();
  GENICAM_NAMESPACE::gcstring GetNodeValue();
  bool IsEmpty();
  // Writes all entries in their order. With a list, errors are added to it and the answer is false;
  // without, the first error is thrown.
  bool RestoreState(INodeMap* pNodeMap, GENICAM_NAMESPACE::gcstring_vector* pErrorList = nullptr);

 private:
  using Entry = std::pair<GENICAM_NAMESPACE::gcstring, GENICAM_NAMESPACE::gcstring>;
  const Entry& Current() const;

  std::vector<Entry> m_entries;
  size_t m_at = 0;
};

}  // namespace GENAPI_NAMESPACE
