#pragma once
// SPDX-License-Identifier: Apache-2.0
// A node map held by reference counting: copies share the map, the last one destroys it. Its own
// operations start with '_', so that a generated class of features (TCameraParams) may use all
// other names. Copies may be used by different threads.

#include <memory>
#include <utility>

#include <Base/GCException.h>
#include <Base/GCString.h>
#include <GenApi/ConcatenatedWrite.h>
#include <GenApi/IDestroy.h>
#include <GenApi/INodeMap.h>
#include <GenApi/NodeMapFactory.h>
#include <GenApi/Pointer.h>
#include <GenApi/Reference.h>

namespace GENAPI_NAMESPACE {

// Stands in for generated features when there are none.
class CGeneric_XMLLoaderParams {
 protected:
  virtual ~CGeneric_XMLLoaderParams() = default;
  virtual void _Initialize(INodeMap*) {}
};

// TCameraParams has a protected _Initialize(INodeMap*) that binds its features.
template <class TCameraParams>
class CNodeMapRefT : public TCameraParams {
 public:
  explicit CNodeMapRefT(const GENICAM_NAMESPACE::gcstring& DeviceName = "Device")
      : m_DeviceName(DeviceName) {}
  // Takes the node map over; a null pointer is allowed.
  CNodeMapRefT(INodeMap* pNodeMap, const GENICAM_NAMESPACE::gcstring& DeviceName = "Device")
      : m_DeviceName(DeviceName) {
    Attach(pNodeMap);
  }
  CNodeMapRefT(const CNodeMapRefT& Them) : TCameraParams() { *this = Them; }
  CNodeMapRefT& operator=(const CNodeMapRefT& Them) {
    if (this == &Them) return *this;
    m_DeviceName = Them.m_DeviceName;
    Share(Them.m_pNodeMap);
    return *this;
  }
  CNodeMapRefT& operator=(INodeMap* pNodeMap) {
    if (pNodeMap != _Ptr) Attach(pNodeMap);
    return *this;
  }
  virtual ~CNodeMapRefT() = default;

  // Lets go of the map.
  void _Destroy() { Share(nullptr); }

  // Each of these replaces the map. Errors are those of CNodeMapFactory.
  void _LoadXMLFromFile(const GENICAM_NAMESPACE::gcstring& FileName) {
    Load(CNodeMapFactory(ContentType_Xml, FileName));
  }
  void _LoadXMLFromZIPFile(const GENICAM_NAMESPACE::gcstring& ZipFileName) {
    Load(CNodeMapFactory(ContentType_ZippedXml, ZipFileName));
  }
  void _LoadXMLFromZIPData(const void* zipData, size_t zipSize) {
    Load(CNodeMapFactory(ContentType_ZippedXml, zipData, zipSize));
  }
  void _LoadXMLFromFileInject(const GENICAM_NAMESPACE::gcstring& TargetFileName,
                              const GENICAM_NAMESPACE::gcstring& InjectFileName) {
    CNodeMapFactory injection(ContentType_Xml, InjectFileName);
    Load(CNodeMapFactory(ContentType_Xml, TargetFileName), &injection);
  }
  void _LoadXMLFromString(const GENICAM_NAMESPACE::gcstring& XMLData) {
    Load(CNodeMapFactory(XMLData));
  }
  void _LoadXMLFromStringInject(const GENICAM_NAMESPACE::gcstring& TargetXMLData,
                                const GENICAM_NAMESPACE::gcstring& InjectXMLData) {
    CNodeMapFactory injection(InjectXMLData);
    Load(CNodeMapFactory(TargetXMLData), &injection);
  }

  void _GetSupportedSchemaVersions(GENICAM_NAMESPACE::gcstring_vector& SchemaVersions) const {
    CNodeMapFactory().GetSupportedSchemaVersions(SchemaVersions);
  }
  GENICAM_NAMESPACE::gcstring _GetDeviceName() const { return Map().GetDeviceName(); }
  void _Poll(int64_t ElapsedTime) { Map().Poll(ElapsedTime); }
  static bool _ClearXMLCache() { return CNodeMapFactory::ClearCache(); }
  void _GetNodes(NodeList_t& Nodes) const { Map().GetNodes(Nodes); }
  INode* _GetNode(const GENICAM_NAMESPACE::gcstring& key) const { return Map().GetNode(key); }
  void _SetSuppressCallbackMode(ECallbackSuppressMode mode) const {
    Map().SetSuppressCallbackMode(mode);
  }
  CNodeWriteConcatenator* _NewNodeWriteConcatenator() const {
    return Map().NewNodeWriteConcatenator();
  }
  bool _ConcatenatedWrite(CNodeWriteConcatenator* pConcatenator, bool featureStreaming = true,
                          GENICAM_NAMESPACE::gcstring_vector* pErrorList = nullptr) {
    return Map().ConcatenatedWrite(pConcatenator, featureStreaming, pErrorList);
  }
  void _InvalidateNodes() const { Map().InvalidateNodes(); }
  bool _Connect(IPort* pPort, const GENICAM_NAMESPACE::gcstring& PortName) const {
    return Map().Connect(pPort, PortName);
  }
  bool _Connect(IPort* pPort) const { return Map().Connect(pPort); }
  bool _Connect(IPortStacked* pPort, const GENICAM_NAMESPACE::gcstring& PortName) const {
    return Map().Connect(pPort, PortName);
  }
  bool _Connect(IPortStacked* pPort) const { return Map().Connect(pPort); }
  bool _ParseSwissKnifes(GENICAM_NAMESPACE::gcstring_vector* pErrorList = nullptr) const {
    return Map().ParseSwissKnifes(pErrorList);
  }

  // The map, null when there is none.
  INodeMap* _Ptr = nullptr;

 private:
  INodeMap& Map() const {
    if (!_Ptr) throw ACCESS_EXCEPTION("Feature not present (reference not valid)");
    return *_Ptr;
  }
  void Load(CNodeMapFactory factory, CNodeMapFactory* pInjection = nullptr) {
    if (pInjection) factory.AddInjectionData(*pInjection);
    Attach(factory.CreateNodeMap(m_DeviceName));
  }
  void Attach(INodeMap* pNodeMap) {
    Share(std::shared_ptr<INodeMap>(pNodeMap, [](INodeMap* p) {
      if (auto* pDestroy = dynamic_cast<IDestroy*>(p)) pDestroy->Destroy();
    }));
  }
  void Share(std::shared_ptr<INodeMap> pNodeMap) {
    m_pNodeMap = std::move(pNodeMap);
    _Ptr = m_pNodeMap.get();
    if (_Ptr) TCameraParams::_Initialize(_Ptr);
  }

  GENICAM_NAMESPACE::gcstring m_DeviceName;
  std::shared_ptr<INodeMap> m_pNodeMap;
};

class CNodeMapRef : public CNodeMapRefT<CGeneric_XMLLoaderParams> {
 public:
  explicit CNodeMapRef(const GENICAM_NAMESPACE::gcstring& DeviceName = "Device")
      : CNodeMapRefT(DeviceName) {}
  CNodeMapRef(INodeMap* pNodeMap, const GENICAM_NAMESPACE::gcstring& DeviceName = "Device")
      : CNodeMapRefT(pNodeMap, DeviceName) {}
  CNodeMapRef(const CNodeMapRef& Them) = default;
  CNodeMapRef& operator=(const CNodeMapRef& Them) = default;
  CNodeMapRef& operator=(INodeMap* pNodeMap) {
    CNodeMapRefT::operator=(pNodeMap);
    return *this;
  }
};

}  // namespace GENAPI_NAMESPACE
