#pragma once
// SPDX-License-Identifier: Apache-2.0
// References to nodes for generated code: objects with a node's interface that are bound to the
// node later. A reference that is not bound has the access mode NI and throws AccessException for
// everything else. It does not own the node and is valid as long as the node map. Threads as for
// the node.

#include <utility>
#include <vector>

#include <Base/GCException.h>
#include <GenApi/IBoolean.h>
#include <GenApi/ICategory.h>
#include <GenApi/ICommand.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IEnumerationT.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INode.h>
#include <GenApi/IPortRecorder.h>
#include <GenApi/IPortStacked.h>
#include <GenApi/IRegister.h>
#include <GenApi/ISelector.h>
#include <GenApi/IString.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IReference {
  // Binds to the node; an object without the right interface leaves the reference unbound.
  virtual void SetReference(IBase* pBase) = 0;

 protected:
  ~IReference() = default;
};

struct GENAPI_DECL_ABSTRACT IEnumReference {
  // Tells which entry of the enumeration the C++ enumerator Index stands for.
  virtual void SetEnumReference(int Index, GENICAM_NAMESPACE::gcstring Name) = 0;
  virtual void SetNumEnums(int NumEnums) = 0;

 protected:
  ~IEnumReference() = default;
};

// T is the node's interface, I that by which the reference is bound.
template <class T, class I = IReference>
class CBaseRefT : public T, public I {
 public:
  EAccessMode GetAccessMode() const override { return m_Ptr ? m_Ptr->GetAccessMode() : NI; }
  void SetReference(IBase* pBase) override { m_Ptr = dynamic_cast<T*>(pBase); }
  bool IsValid() const { return m_Ptr != nullptr; }
  bool operator==(T* pT) const { return m_Ptr == pT; }
  bool operator==(const CBaseRefT& rT) const { return m_Ptr == rT.m_Ptr; }

 protected:
  T& Ref() const {
    if (!m_Ptr) throw ACCESS_EXCEPTION("Feature not present (reference not valid)");
    return *m_Ptr;
  }
  T* m_Ptr = nullptr;
};

template <class T, class I = IReference>
class CValueRefT : public CBaseRefT<T, I> {
 public:
  INode* GetNode() override { return this->Ref().GetNode(); }
  GENICAM_NAMESPACE::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override {
    return this->Ref().ToString(Verify, IgnoreCache);
  }
  void FromString(const GENICAM_NAMESPACE::gcstring& ValueStr, bool Verify = true) override {
    this->Ref().FromString(ValueStr, Verify);
  }
  bool IsValueCacheValid() const override { return this->Ref().IsValueCacheValid(); }

 protected:
  // The node's cast alias as that interface, or null.
  template <class Alias>
  Alias* CastAlias() const {
    return dynamic_cast<Alias*>(this->Ref().GetNode()->GetCastAlias());
  }
};

template <class T, class I = IReference>
class CIntegerRefT : public CValueRefT<T, I> {
 public:
  void SetValue(int64_t Value, bool Verify = true) override { this->Ref().SetValue(Value, Verify); }
  IInteger& operator=(int64_t Value) override {
    this->Ref().SetValue(Value);
    return *this;
  }
  int64_t GetValue(bool Verify = false, bool IgnoreCache = false) override {
    return this->Ref().GetValue(Verify, IgnoreCache);
  }
  int64_t operator()() override { return this->Ref().GetValue(); }
  int64_t operator*() override { return this->Ref().GetValue(); }
  int64_t GetMin() override { return this->Ref().GetMin(); }
  int64_t GetMax() override { return this->Ref().GetMax(); }
  EIncMode GetIncMode() override { return this->Ref().GetIncMode(); }
  int64_t GetInc() override { return this->Ref().GetInc(); }
  int64_autovector_t GetListOfValidValues(bool bounded = true) override {
    return this->Ref().GetListOfValidValues(bounded);
  }
  ERepresentation GetRepresentation() override { return this->Ref().GetRepresentation(); }
  GENICAM_NAMESPACE::gcstring GetUnit() override { return this->Ref().GetUnit(); }
  void ImposeMin(int64_t Value) override { this->Ref().ImposeMin(Value); }
  void ImposeMax(int64_t Value) override { this->Ref().ImposeMax(Value); }
  IFloat* GetFloatAlias() const { return this->template CastAlias<IFloat>(); }
};

template <class T, class I = IReference>
class CFloatRefT : public CValueRefT<T, I> {
 public:
  void SetValue(double Value, bool Verify = true) override { this->Ref().SetValue(Value, Verify); }
  IFloat& operator=(double Value) override {
    this->Ref().SetValue(Value);
    return *this;
  }
  double GetValue(bool Verify = false, bool IgnoreCache = false) override {
    return this->Ref().GetValue(Verify, IgnoreCache);
  }
  double operator()() override { return this->Ref().GetValue(); }
  double operator*() override { return this->Ref().GetValue(); }
  double GetMin() override { return this->Ref().GetMin(); }
  double GetMax() override { return this->Ref().GetMax(); }
  bool HasInc() override { return this->Ref().HasInc(); }
  EIncMode GetIncMode() override { return this->Ref().GetIncMode(); }
  double GetInc() override { return this->Ref().GetInc(); }
  double_autovector_t GetListOfValidValues(bool bounded = true) override {
    return this->Ref().GetListOfValidValues(bounded);
  }
  ERepresentation GetRepresentation() override { return this->Ref().GetRepresentation(); }
  GENICAM_NAMESPACE::gcstring GetUnit() const override { return this->Ref().GetUnit(); }
  EDisplayNotation GetDisplayNotation() const override { return this->Ref().GetDisplayNotation(); }
  int64_t GetDisplayPrecision() const override { return this->Ref().GetDisplayPrecision(); }
  void ImposeMin(double Value) override { this->Ref().ImposeMin(Value); }
  void ImposeMax(double Value) override { this->Ref().ImposeMax(Value); }
  IInteger* GetIntAlias() const { return this->template CastAlias<IInteger>(); }
  IEnumeration* GetEnumAlias() const { return this->template CastAlias<IEnumeration>(); }
};

template <class T, class I = IReference>
class CBooleanRefT : public CValueRefT<T, I> {
 public:
  void SetValue(bool Value, bool Verify = true) override { this->Ref().SetValue(Value, Verify); }
  IBoolean& operator=(bool Value) override {
    this->Ref().SetValue(Value);
    return *this;
  }
  bool GetValue(bool Verify = false, bool IgnoreCache = false) const override {
    return this->Ref().GetValue(Verify, IgnoreCache);
  }
  bool operator()() const override { return this->Ref().GetValue(); }
};

template <class T, class I = IReference>
class CCommandRefT : public CValueRefT<T, I> {
 public:
  void Execute(bool Verify = true) override { this->Ref().Execute(Verify); }
  void operator()() override { this->Ref().Execute(); }
  bool IsDone(bool Verify = true) override { return this->Ref().IsDone(Verify); }
};

template <class T, class I = IReference>
class CStringRefT : public CValueRefT<T, I> {
 public:
  void SetValue(const GENICAM_NAMESPACE::gcstring& Value, bool Verify = true) override {
    this->Ref().SetValue(Value, Verify);
  }
  IString& operator=(const GENICAM_NAMESPACE::gcstring& Value) override {
    this->Ref().SetValue(Value);
    return *this;
  }
  GENICAM_NAMESPACE::gcstring GetValue(bool Verify = false, bool IgnoreCache = false) override {
    return this->Ref().GetValue(Verify, IgnoreCache);
  }
  GENICAM_NAMESPACE::gcstring operator()() override { return this->Ref().GetValue(); }
  GENICAM_NAMESPACE::gcstring operator*() override { return this->Ref().GetValue(); }
  int64_t GetMaxLength(bool Verify = false) override { return this->Ref().GetMaxLength(Verify); }
};

template <class T, class I = IReference>
class CRegisterRefT : public CValueRefT<T, I> {
 public:
  void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) override {
    this->Ref().Set(pBuffer, Length, Verify);
  }
  void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false,
           bool IgnoreCache = false) override {
    this->Ref().Get(pBuffer, Length, Verify, IgnoreCache);
  }
  int64_t GetLength(bool Verify = false) override { return this->Ref().GetLength(Verify); }
  int64_t GetAddress(bool Verify = false) override { return this->Ref().GetAddress(Verify); }
};

template <class T, class I = IReference>
class CEnumEntryRefT : public CValueRefT<T, I> {
 public:
  int64_t GetValue() override { return this->Ref().GetValue(); }
  GENICAM_NAMESPACE::gcstring GetSymbolic() const override { return this->Ref().GetSymbolic(); }
  double GetNumericValue() override { return this->Ref().GetNumericValue(); }
  bool IsSelfClearing() override { return this->Ref().IsSelfClearing(); }
};

template <class T, class I = IReference>
class CCategoryRefT : public CValueRefT<T, I> {
 public:
  void GetFeatures(FeatureList_t& Features) const override { this->Ref().GetFeatures(Features); }
};

template <class T, class I = IReference>
class CPortRefT : public CBaseRefT<T, I> {
 public:
  using T::Write;
  void Read(void* pBuffer, int64_t Address, int64_t Length) override {
    this->Ref().Read(pBuffer, Address, Length);
  }
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
    this->Ref().Write(pBuffer, Address, Length);
  }
};

template <class T, class I = IReference>
class CPortStackedRefT : public CPortRefT<T, I> {
 public:
  using CPortRefT<T, I>::Write;
  void Write(PORT_REGISTER_STACK_ENTRY* pEntries, size_t numEntries) override {
    this->Ref().Write(pEntries, numEntries);
  }
};

template <class T, class I = IReference>
class CPortReplayRefT : public CPortRefT<T, I> {
 public:
  void Replay(IPortWriteList* pPortRecorder, bool Invalidate = true) override {
    this->Ref().Replay(pPortRecorder, Invalidate);
  }
};

template <class T, class I = IReference>
class CPortRecorderRefT : public CPortReplayRefT<T, I> {
 public:
  void StartRecording(IPortWriteList* pPortRecorder) override {
    this->Ref().StartRecording(pPortRecorder);
  }
  void StopRecording() override { this->Ref().StopRecording(); }
};

template <class T, class I = IReference>
class CSelectorRefT : public CBaseRefT<T, I> {
 public:
  bool IsSelector() const override { return this->Ref().IsSelector(); }
  void GetSelectedFeatures(FeatureList_t& list) const override {
    this->Ref().GetSelectedFeatures(list);
  }
  void GetSelectingFeatures(FeatureList_t& list) const override {
    this->Ref().GetSelectingFeatures(list);
  }
};

// What the two enumeration references share: the part that knows nothing of a C++ enumeration.
template <class T, class I = IReference>
class CEnumerationRefBaseT : public CValueRefT<T, I> {
 public:
  void GetSymbolics(StringList_t& Symbolics) override { this->Ref().GetSymbolics(Symbolics); }
  void GetEntries(NodeList_t& Entries) override { this->Ref().GetEntries(Entries); }
  IEnumeration& operator=(const GENICAM_NAMESPACE::gcstring& ValueStr) override {
    this->Ref().FromString(ValueStr);
    return *this;
  }
  void SetIntValue(int64_t Value, bool Verify = true) override {
    this->Ref().SetIntValue(Value, Verify);
  }
  GENICAM_NAMESPACE::gcstring operator*() override { return this->Ref().ToString(); }
  int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) override {
    return this->Ref().GetIntValue(Verify, IgnoreCache);
  }
  IEnumEntry* GetEntryByName(const GENICAM_NAMESPACE::gcstring& Symbolic) override {
    return this->Ref().GetEntryByName(Symbolic);
  }
  IEnumEntry* GetEntry(const int64_t IntValue) override { return this->Ref().GetEntry(IntValue); }
  IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) override {
    return this->Ref().GetCurrentEntry(Verify, IgnoreCache);
  }
};

template <class T, class I = IReference>
class CEnumerationRefT : public CEnumerationRefBaseT<T, I> {
 public:
  using CEnumerationRefBaseT<T, I>::operator=;
};

// An enumeration seen through the C++ enumeration EnumT, whose enumerators count up from 0. The
// node itself need only be an IEnumeration; its entries are found by the names given to
// SetEnumReference.
template <typename EnumT>
class CEnumerationTRef : public IEnumerationT<EnumT>, public IReference, public IEnumReference {
 public:
  EAccessMode GetAccessMode() const override { return m_Enumeration.GetAccessMode(); }
  INode* GetNode() override { return m_Enumeration.GetNode(); }
  GENICAM_NAMESPACE::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override {
    return m_Enumeration.ToString(Verify, IgnoreCache);
  }
  void FromString(const GENICAM_NAMESPACE::gcstring& ValueStr, bool Verify = true) override {
    m_Enumeration.FromString(ValueStr, Verify);
  }
  bool IsValueCacheValid() const override { return m_Enumeration.IsValueCacheValid(); }
  void GetSymbolics(StringList_t& Symbolics) override { m_Enumeration.GetSymbolics(Symbolics); }
  void GetEntries(NodeList_t& Entries) override { m_Enumeration.GetEntries(Entries); }
  IEnumeration& operator=(const GENICAM_NAMESPACE::gcstring& ValueStr) override {
    m_Enumeration = ValueStr;
    return *this;
  }
  void SetIntValue(int64_t Value, bool Verify = true) override {
    m_Enumeration.SetIntValue(Value, Verify);
  }
  GENICAM_NAMESPACE::gcstring operator*() override { return *m_Enumeration; }
  int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) override {
    return m_Enumeration.GetIntValue(Verify, IgnoreCache);
  }
  IEnumEntry* GetEntryByName(const GENICAM_NAMESPACE::gcstring& Symbolic) override {
    return m_Enumeration.GetEntryByName(Symbolic);
  }
  IEnumEntry* GetEntry(const int64_t IntValue) override { return m_Enumeration.GetEntry(IntValue); }
  IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) override {
    return m_Enumeration.GetCurrentEntry(Verify, IgnoreCache);
  }

  void SetValue(EnumT Value, bool Verify = true) override {
    SetIntValue(EntryOf(Value).second, Verify);
  }
  IEnumeration& operator=(EnumT Value) override {
    SetValue(Value);
    return *this;
  }
  // LogicalErrorException when the current entry has no enumerator.
  EnumT GetValue(bool Verify = false, bool IgnoreCache = false) override {
    const int64_t value = GetIntValue(Verify, IgnoreCache);
    for (size_t i = 0; i < m_Entries.size(); ++i) {
      if (m_Entries[i] == std::make_pair(true, value)) return static_cast<EnumT>(i);
    }
    throw LOGICAL_ERROR_EXCEPTION("Unknown IntValue %lld", static_cast<long long>(value));
  }
  EnumT operator()() override { return GetValue(); }
  // Null when the device has no such entry.
  IEnumEntry* GetEntry(const EnumT Value) override {
    const size_t index = static_cast<size_t>(Value);
    if (index >= m_Entries.size() || !m_Entries[index].first) return nullptr;
    return m_Enumeration.GetEntry(m_Entries[index].second);
  }

  bool IsValid() const { return m_Enumeration.IsValid(); }
  void SetReference(IBase* pBase) override { m_Enumeration.SetReference(pBase); }
  void SetNumEnums(int NumEnums) override {
    m_Entries.assign(NumEnums > 0 ? static_cast<size_t>(NumEnums) : 0, {false, 0});
  }
  void SetEnumReference(int Index, GENICAM_NAMESPACE::gcstring Name) override {
    if (!m_Enumeration.IsValid()) return;
    IEnumEntry* pEntry = m_Enumeration.GetEntryByName(Name);
    if (!pEntry) return;
    m_Entries.at(static_cast<size_t>(Index)) = {true, pEntry->GetValue()};
  }

 private:
  const std::pair<bool, int64_t>& EntryOf(EnumT Value) const {
    const size_t index = static_cast<size_t>(Value);
    if (index >= m_Entries.size() || !m_Entries[index].first) {
      throw INVALID_ARGUMENT_EXCEPTION(
          "Feature '%s': the device has no entry for enumerator %zu",
          const_cast<CEnumerationTRef*>(this)->GetNode()->GetName().c_str(), index);
    }
    return m_Entries[index];
  }

  CEnumerationRefT<IEnumeration> m_Enumeration;
  std::vector<std::pair<bool, int64_t>> m_Entries;  // by enumerator: does it exist, its number
};

typedef CBaseRefT<IBase> CBaseRef;
typedef CValueRefT<IValue> CValueRef;
typedef CIntegerRefT<IInteger> CIntegerRef;
typedef CFloatRefT<IFloat> CFloatRef;
typedef CBooleanRefT<IBoolean> CBooleanRef;
typedef CCommandRefT<ICommand> CCommandRef;
typedef CStringRefT<IString> CStringRef;
typedef CRegisterRefT<IRegister> CRegisterRef;
typedef CEnumEntryRefT<IEnumEntry> CEnumEntryRef;
typedef CEnumerationRefT<IEnumeration> CEnumerationRef;
typedef CCategoryRefT<ICategory> CCategoryRef;
typedef CPortRefT<IPort> CPortRef;
typedef CPortStackedRefT<IPortStacked> CPortStackedRef;
typedef CPortRecorderRefT<IPortRecorder> CPortRecorderRef;
typedef CSelectorRefT<ISelector> CSelectorRef;

}  // namespace GENAPI_NAMESPACE
