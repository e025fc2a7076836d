#pragma once
// SPDX-License-Identifier: Apache-2.0
// What every node of a node map has, whatever its kind (GenICam GenApi). Owned by the node map. Any
// thread.
#include <GenApi/Container.h>
#include <GenApi/IBase.h>
#include <GenApi/Types.h>

namespace GENAPI_NAMESPACE {

struct INodeMap;
class CNodeCallback;

// What RegisterCallback answers and DeregisterCallback takes.
typedef intptr_t CallbackHandleType;

struct GENAPI_DECL_ABSTRACT INode : virtual public IBase {
  // Name of the node; FullQualified puts "Std::" or "Cust::" before it.
  virtual GENICAM_NAMESPACE::gcstring GetName(bool FullQualified = false) const = 0;
  virtual ENameSpace GetNameSpace() const = 0;
  virtual EVisibility GetVisibility() const = 0;
  // Drops the caches of this node and of all that depend on it, and fires their callbacks.
  virtual void InvalidateNode() = 0;
  virtual bool IsCachable() const = 0;
  virtual EYesNo IsAccessModeCacheable() const = 0;
  virtual ECachingMode GetCachingMode() const = 0;
  // Milliseconds between two polls; -1 when the node is not polled.
  virtual int64_t GetPollingTime() const = 0;
  virtual GENICAM_NAMESPACE::gcstring GetToolTip() const = 0;
  virtual GENICAM_NAMESPACE::gcstring GetDescription() const = 0;
  virtual GENICAM_NAMESPACE::gcstring GetDisplayName() const = 0;
  virtual GENICAM_NAMESPACE::gcstring GetDeviceName() const = 0;
  virtual void GetChildren(NodeList_t& Children, ELinkType LinkType = ctReadingChildren) const = 0;
  virtual void GetParents(NodeList_t& Parents) const = 0;
  // Takes ownership of the callback; it is destroyed by DeregisterCallback or with the map.
  virtual CallbackHandleType RegisterCallback(CNodeCallback* pCallback) = 0;
  // False when the handle is unknown.
  virtual bool DeregisterCallback(CallbackHandleType hCallback) = 0;
  virtual INodeMap* GetNodeMap() const = 0;
  // Hexadecimal text of the event id; empty when there is none.
  virtual GENICAM_NAMESPACE::gcstring GetEventID() const = 0;
  virtual bool IsStreamable() const = 0;
  // Names of the elements and attributes that the description gives for this node.
  virtual void GetPropertyNames(GENICAM_NAMESPACE::gcstring_vector& PropertyNames) const = 0;
  // Several values and their attributes are separated by tabs. False when there is no such
  // property.
  virtual bool GetProperty(const GENICAM_NAMESPACE::gcstring& PropertyName,
                           GENICAM_NAMESPACE::gcstring& ValueStr,
                           GENICAM_NAMESPACE::gcstring& AttributeStr) = 0;
  // Narrow the node's own mode or visibility until further notice.
  virtual void ImposeAccessMode(EAccessMode ImposedAccessMode) = 0;
  virtual void ImposeVisibility(EVisibility ImposedVisibility) = 0;
  virtual INode* GetAlias() const = 0;
  virtual INode* GetCastAlias() const = 0;
  virtual GENICAM_NAMESPACE::gcstring GetDocuURL() const = 0;
  virtual bool IsDeprecated() const = 0;
  virtual EInterfaceType GetPrincipalInterfaceType() const = 0;
  // Whether the node can be reached from the category Root.
  virtual bool IsFeature() const = 0;
};

}  // namespace GENAPI_NAMESPACE
