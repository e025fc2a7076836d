#pragma once
// SPDX-License-Identifier: Apache-2.0
// All values of a feature that an integer selector sweeps, read at once into a vector. Does not own
// the nodes. Takes the node map's lock while it reads; the selector is put back.

#include <cstdint>
#include <vector>

#include <Base/GCException.h>
#include <GenApi/GenApiDll.h>
#include <GenApi/IBoolean.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INode.h>
#include <GenApi/INodeMap.h>

namespace GENAPI_NAMESPACE {

class GENAPI_DECL CValueArrayAdapterBase {
 public:
  virtual ~CValueArrayAdapterBase();

 protected:
  CValueArrayAdapterBase(IValue* pValue, IInteger* pSelector);
  // Both nodes are there, and the selector selects the feature.
  bool IsPair() const;
  // Whether the device names the pair in its string feature ValueArrayCandidates:
  // "Feature[Selector], ...", '#' ends the list.
  static bool IsAdvertised(IValue* pValue, IInteger* pSelector);
  // Sets the selector to each of its values in turn and calls Take.
  void Sweep();
  virtual void Take() = 0;

 private:
  IValue* m_pValue;
  IInteger* m_pSelector;
};

template <class TValueNodeType, class TOutputValueType, class TInnerValueType = TOutputValueType>
class CValueArrayAdapter : public CValueArrayAdapterBase {
 public:
  CValueArrayAdapter(TValueNodeType* base_value, IInteger* selector)
      : CValueArrayAdapterBase(base_value, selector), m_pNode(base_value) {}

  bool IsValid() const { return IsPair(); }
  // In the order of the selector's values. LogicalErrorException when the pair is not valid; else
  // as reading the feature.
  std::vector<TOutputValueType> GetAllValues() {
    std::vector<TOutputValueType> values;
    GetAllValues(values);
    return values;
  }
  void GetAllValues(std::vector<TOutputValueType>& values) {
    if (!IsValid()) throw LOGICAL_ERROR_EXCEPTION("The selector does not select the feature");
    m_values.clear();
    Sweep();
    values.swap(m_values);
  }
  static bool CheckAdvertisedCompatibility(TValueNodeType* base_value, IInteger* selector) {
    return IsAdvertised(base_value, selector);
  }

 private:
  void Take() override {
    m_values.push_back(static_cast<TOutputValueType>(TInnerValueType(m_pNode->GetValue())));
  }

  TValueNodeType* m_pNode;
  std::vector<TOutputValueType> m_values;
};

class CIntegerValueArray : public CValueArrayAdapter<IInteger, int64_t> {
 public:
  CIntegerValueArray(IInteger* base_value, IInteger* selector)
      : CValueArrayAdapter(base_value, selector) {}
};

class CFloatValueArray : public CValueArrayAdapter<IFloat, double> {
 public:
  CFloatValueArray(IFloat* base_value, IInteger* selector)
      : CValueArrayAdapter(base_value, selector) {}
};

class CBooleanValueArray : public CValueArrayAdapter<IBoolean, uint8_t, bool> {
 public:
  CBooleanValueArray(IBoolean* base_value, IInteger* selector)
      : CValueArrayAdapter(base_value, selector) {}
};

}  // namespace GENAPI_NAMESPACE
