#pragma once
// SPDX-License-Identifier: Apache-2.0
// Smart pointers to node interfaces: made from any interface of a node by a dynamic cast, null when
// the node does not offer the interface. They don't own the node and are valid as long as its node
// map. As thread-safe as a plain pointer.

#include <cstddef>

#include <Base/GCException.h>
#include <GenApi/GenApiDll.h>
#include <GenApi/GenApiNamespace.h>
#include <GenICamFwd.h>

namespace GENAPI_NAMESPACE {

template <class T, class B = IBase>
class CPointer {
 public:
  CPointer() = default;
  CPointer(B* pB) : m_pT(dynamic_cast<T*>(pB)) {}
  CPointer(const CPointer&) = default;
  CPointer& operator=(const CPointer&) = default;
  virtual ~CPointer() = default;
  CPointer& operator=(B* pB) {
    m_pT = dynamic_cast<T*>(pB);
    return *this;
  }

  operator T*() const { return m_pT; }
  // The three ways to the interface throw LogicalErrorException when the pointer is null.
  T& operator*() const { return *Checked(); }
  T& operator()() const { return *Checked(); }
  T* operator->() const { return Checked(); }
  bool IsValid() const { return m_pT != nullptr; }
  explicit operator bool() const { return m_pT != nullptr; }
  // 0, NULL and nullptr are taken as null T*.
  bool operator==(T* pT) const { return m_pT == pT; }
  bool operator==(const CPointer& rT) const { return m_pT == rT.m_pT; }
  bool operator!=(T* pT) const { return m_pT != pT; }
  bool operator!=(const CPointer& rT) const { return m_pT != rT.m_pT; }

 protected:
  T* m_pT = nullptr;

 private:
  T* Checked() const {
    if (!m_pT) ThrowNull();
    return m_pT;
  }
  [[noreturn]] static void ThrowNull() {
    throw LOGICAL_ERROR_EXCEPTION(
        "NULL pointer dereferenced: the node is missing or does not offer the interface");
  }
};

using CBasePtr = CPointer<IBase>;
using CNodePtr = CPointer<INode>;
using CValuePtr = CPointer<IValue>;
using CCategoryPtr = CPointer<ICategory>;
using CBooleanPtr = CPointer<IBoolean>;
using CIntegerPtr = CPointer<IInteger>;
using CStringPtr = CPointer<IString>;
using CRegisterPtr = CPointer<IRegister>;
using CEnumerationPtr = CPointer<IEnumeration>;
using CEnumEntryPtr = CPointer<IEnumEntry>;
using CPortPtr = CPointer<IPort>;
using CPortReplayPtr = CPointer<IPortReplay>;
using CPortRecorderPtr = CPointer<IPortRecorder>;
using CPortWriteListPtr = CPointer<IPortWriteList, IPortWriteList>;
using CChunkPortPtr = CPointer<IChunkPort>;
using CNodeMapPtr = CPointer<INodeMap, INodeMap>;
using CDeviceInfoPtr = CPointer<IDeviceInfo, INodeMap>;
using CNodeMapUserDataPtr = CPointer<IUserData, INodeMap>;
using CNodeUserDataPtr = CPointer<IUserData>;
using CSelectorPtr = CPointer<ISelector>;
using CCommandPtr = CPointer<ICommand>;
using CPortConstructPtr = CPointer<IPortConstruct>;
using CPortStackedConstructPtr = CPointer<IPortStackedConstruct>;

// Pointer to a float that may also be an integer or an enumeration.
class GENAPI_DECL CFloatPtr : public CPointer<IFloat> {
 public:
  CFloatPtr() = default;
  CFloatPtr(IBase* pB);
  CFloatPtr& operator=(IBase* pB);
  // The node's cast alias as that interface, or null.
  IInteger* GetIntAlias() const;
  IEnumeration* GetEnumAlias() const;
};

}  // namespace GENAPI_NAMESPACE
