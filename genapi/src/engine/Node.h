#pragma once
// SPDX-License-Identifier: Apache-2.0
// What all nodes of the engine share: names, access mode, caching, links to other nodes, callbacks,
// and the engine's own way to read and write one node from another. Nodes belong to their NodeMap
// and refer to the description's text.
//
// Functions of the published interface take the map's lock. Functions called Read..., Write...,
// Internal... expect it to be held.
#include <Base/GCException.h>
#include <GenApi/EnumClasses.h>
#include <GenApi/INode.h>
#include <GenApi/INodeMap.h>
#include <GenApi/ISelector.h>
#include <GenApi/IUserData.h>
#include <GenApi/IValue.h>

#include <memory>
#include <pugixml.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/Elements.h"

namespace OrvexGenApi {

using namespace GENAPI_NAMESPACE;  // NOLINT: the engine implements exactly this namespace's
                                   // interfaces
using GENICAM_NAMESPACE::gcstring;
using GENICAM_NAMESPACE::gcstring_vector;

class NodeMap;
class Node;
class Builder;
class ValueNode;
class PortNode;

// How a value is read.
struct ReadMode {
  bool verify = false;
  bool ignoreCache = false;
};

// Throws E with a text that names the node and its line.
template <class E>
[[noreturn]] __attribute__((format(printf, 5, 6))) void Raise(const char* pFile, unsigned line,
                                                              const char* pType, const Node& node,
                                                              const char* pFormat, ...);
#define GENAPI_RAISE(Exception, node, ...)                                                 \
  ::OrvexGenApi::Raise<GENICAM_NAMESPACE::Exception>(__FILE__, __LINE__, #Exception, node, \
                                                     __VA_ARGS__)

// What a change of one node makes void in another.
enum Void : uint8_t {
  sk_voidNothing = 0,  // only the callbacks have to know
  sk_voidValue = 1,
  sk_voidAccess = 2,
  sk_voidRange = 4,  // nothing keeps it but formulas that ask for it
  sk_voidAll = 7,
};

// A node to look at when another one changes.
struct Dependent {
  Node* pNode;
  uint8_t onValue;   // what is void when the other's value is
  uint8_t onAccess;  // what is void when the other's access mode is
  uint8_t onRange;   // what is void when the other's range is
};

// One reference of a node to another, in the order of the description.
struct Link {
  Node* pTarget;
  uint32_t index;  // of the target in the map
  Element role;
};

class Node : public INode, public ISelector, public IUserData {
 public:
  Node(NodeMap& map, pugi::xml_node element);
  ~Node() override;
  // Nodes lie side by side in memory of their map, which frees it.
  static void* operator new(size_t size, NodeMap& map);
  static void operator delete(void*) {}
  static void operator delete(void*, NodeMap&) {}
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  // IBase, INode
  EAccessMode GetAccessMode() const override;
  gcstring GetName(bool FullQualified) const override;
  ENameSpace GetNameSpace() const override { return m_nameSpace; }
  EVisibility GetVisibility() const override;
  void InvalidateNode() override;
  bool IsCachable() const override;
  EYesNo IsAccessModeCacheable() const override;
  ECachingMode GetCachingMode() const override;
  int64_t GetPollingTime() const override { return m_pollingTime; }
  gcstring GetToolTip() const override;
  gcstring GetDescription() const override;
  gcstring GetDisplayName() const override;
  gcstring GetDeviceName() const override;
  void GetChildren(NodeList_t& Children, ELinkType LinkType) const override;
  void GetParents(NodeList_t& Parents) const override;
  CallbackHandleType RegisterCallback(CNodeCallback* pCallback) override;
  bool DeregisterCallback(CallbackHandleType hCallback) override;
  INodeMap* GetNodeMap() const override;
  gcstring GetEventID() const override;
  bool IsStreamable() const override { return m_streamable; }
  void GetPropertyNames(gcstring_vector& PropertyNames) const override;
  bool GetProperty(const gcstring& PropertyName, gcstring& ValueStr,
                   gcstring& AttributeStr) override;
  void ImposeAccessMode(EAccessMode ImposedAccessMode) override;
  void ImposeVisibility(EVisibility ImposedVisibility) override;
  INode* GetAlias() const override;
  INode* GetCastAlias() const override;
  gcstring GetDocuURL() const override;
  bool IsDeprecated() const override { return m_deprecated; }
  bool IsFeature() const override { return m_feature; }

  // ISelector
  bool IsSelector() const override;
  void GetSelectedFeatures(FeatureList_t& Features) const override;
  void GetSelectingFeatures(FeatureList_t& Features) const override;

  // IUserData
  UserData_t GetUserData() const override { return m_userData; }
  UserData_t SetUserData(UserData_t userdata) override;

  // ---- building ----
  // Takes one child element of the description. False when the kind has no such element.
  virtual bool Take(Element id, pugi::xml_node element, Builder& builder);
  // All elements have been taken and all nodes exist.
  virtual void Finish(Builder&) {}

  // ---- reading and writing from other nodes; kinds that have no such view throw ----
  virtual int64_t ReadInt(ReadMode);
  virtual double ReadFloat(ReadMode);
  virtual void WriteInt(int64_t value, bool verify);
  virtual void WriteFloat(double value, bool verify);
  virtual int64_t IntMin();
  virtual int64_t IntMax();
  virtual int64_t IntInc();
  virtual EIncMode IntIncMode();
  virtual void IntValidValues(std::vector<int64_t>&) {}
  virtual double FloatMin();
  virtual double FloatMax();
  virtual bool FloatHasInc();
  virtual double FloatInc();
  virtual EIncMode FloatIncMode();
  virtual void FloatValidValues(std::vector<double>&);
  virtual ERepresentation InternalRepresentation() { return PureNumber; }
  virtual std::string_view InternalUnit() const { return {}; }
  virtual EDisplayNotation InternalNotation() const { return fnAutomatic; }
  virtual int64_t InternalPrecision() const;
  virtual bool IsIntegerKind() const { return false; }
  virtual std::string ReadText(ReadMode);
  // What the node says about the error that it reports.
  virtual std::string ErrorText();
  virtual void WriteText(const std::string& text, bool verify);

  EAccessMode InternalAccess() const;
  ECachingMode InternalCaching() const;
  bool InternalAccessCacheable() const;

  // Forgets cached values, or the access mode; says nothing to anybody.
  virtual void DropValue() {}
  void DropAccess() { m_accessCache = _UndefinedAccesMode; }
  // Whether polling may invalidate the node now.
  virtual bool MayPoll() { return true; }
  // The name to show when the description gives none.
  virtual const char* ShortName() const { return m_name; }
  virtual EVisibility InternalVisibility() const { return m_visibility; }
  // The nodes that this one selects.
  std::vector<Node*> Selected() const;

  const char* Name() const { return m_name; }
  unsigned Line() const;
  NodeMap& Map() const { return m_map; }
  pugi::xml_node XmlElement() const { return m_element; }
  std::span<const Link> Links() const;
  std::span<const Dependent> Dependents() const;
  virtual ValueNode* AsValue() { return nullptr; }
  virtual PortNode* AsPort() { return nullptr; }
  Node* FirstLinked(Element role) const;
  bool HasCallbacks() const { return !m_callbacks.empty(); }

 protected:
  // Mode before the common conditions are applied.
  virtual EAccessMode BaseAccess() const = 0;
  virtual ECachingMode OwnCaching() const { return WriteThrough; }
  // Extra condition on the access-mode cache besides that of the linked nodes.
  virtual bool BaseAccessCacheable() const { return true; }
  // Whether a link of this role leads to a part of the value.
  static bool IsValueRole(Element role);
  // Text of a child element as it stands; empty when there is none.
  std::string_view ChildText(const char* pElement) const;
  // Throws AccessException unless the access mode allows it.
  void CheckReadable() const;
  void CheckWritable() const;
  // Throws when a linked error node reports an error.
  void CheckErrors();

  NodeMap& m_map;
  pugi::xml_node m_element;
  pugi::xml_node m_shared;  // the structure that a StructEntry belongs to
  const char* m_name;
  Node* m_pIsImplemented = nullptr;
  Node* m_pIsAvailable = nullptr;
  Node* m_pIsLocked = nullptr;
  UserData_t m_userData = nullptr;
  int64_t m_pollingTime = -1;
  int64_t m_polled = 0;

 private:
  friend class NodeMap;
  friend class Builder;
  friend class WriteScope;

  EAccessMode ComputeAccess() const;
  bool ComputeAccessCacheable() const;
  bool UrlVariable(std::string_view name, std::string& value) const;

  std::vector<std::shared_ptr<CNodeCallback>> m_callbacks;
  uint32_t m_visit = 0;
  uint8_t m_visitVoid = 0;
  uint32_t m_index = 0;

 protected:
  mutable uint8_t m_accessCache = _UndefinedAccesMode;

 private:
  mutable uint8_t m_cachingCache = _UndefinedCachingMode;
  mutable uint8_t m_accessCacheable = _UndefinedYesNo;
  mutable bool m_inAccess = false;
  mutable bool m_inCaching = false;
  uint8_t m_xmlAccess = RW;      // ImposedAccessMode of the description
  uint8_t m_imposedAccess = RW;  // imposed at run time
  ENameSpace m_nameSpace = Custom;
  EVisibility m_visibility = Beginner;
  EVisibility m_imposedVisibility = Beginner;
  bool m_streamable = false;
  bool m_deprecated = false;
  bool m_feature = false;
  bool m_hasErrorNodes = false;
  bool m_selects = false;
  bool m_noted = false;  // stands in the map's list of changed nodes
};

// A node with a value: the text forms and the cached-value flag.
class ValueNode : public Node, public virtual IValue {
 public:
  using Node::Node;
  INode* GetNode() override { return this; }
  gcstring ToString(bool Verify, bool IgnoreCache) override;
  void FromString(const gcstring& ValueStr, bool Verify) override;
  bool IsValueCacheValid() const override;
  ValueNode* AsValue() override { return this; }

  void DropValue() override { m_valueValid = false; }

 protected:
  bool m_valueValid = false;
};

}  // namespace OrvexGenApi
