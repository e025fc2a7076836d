// SPDX-License-Identifier: Apache-2.0
#include <GenApi/NodeMapFactory.h>

#include <atomic>
#include <fstream>

#include "engine/Description.h"
#include "engine/Elements.h"
#include "engine/Limits.h"
#include "engine/NodeMap.h"

namespace GENAPI_NAMESPACE {

using GENICAM_NAMESPACE::gcstring;
using GENICAM_NAMESPACE::gcstring_vector;
using OrvexGenApi::Document;

// What the copies of a factory share.
class CNodeMapFactoryImpl {
 public:
  void Load() {
    if (document) return;
    if (!hasText) throw RUNTIME_EXCEPTION("The node map factory holds no camera description");
    document = Document::Parse(std::move(text));
    released = true;
    text.clear();
    for (const auto& injected : injections) {
      injected->Load();
      document = OrvexGenApi::Merge(*document, *injected->document);
    }
    injections.clear();
  }

  std::string text;
  bool hasText = false;
  bool released = false;
  bool preprocessed = false;
  bool suppressStrings = false;
  std::shared_ptr<Document> document;
  std::vector<std::shared_ptr<CNodeMapFactoryImpl>> injections;
};

namespace {

std::string Content(EContentType_t type, std::string data) {
  return type == ContentType_ZippedXml ? OrvexGenApi::Unzip(data.data(), data.size())
                                       : std::move(data);
}

std::shared_ptr<CNodeMapFactoryImpl> MakeImpl(std::string text, bool suppressStrings) {
  auto impl = std::make_shared<CNodeMapFactoryImpl>();
  impl->text = std::move(text);
  impl->hasText = true;
  impl->suppressStrings = suppressStrings;
  return impl;
}

}  // namespace

CNodeMapFactory::CNodeMapFactory() : m_pImpl(std::make_shared<CNodeMapFactoryImpl>()) {}

CNodeMapFactory::CNodeMapFactory(EContentType_t FileType, const gcstring& FileName, ECacheUsage_t,
                                 bool SuppressStringsOnLoad)
    : m_pImpl(MakeImpl(
          Content(FileType, OrvexGenApi::ReadFile(FileName.c_str(), OrvexGenApi::sk_maxXmlBytes)),
          SuppressStringsOnLoad)) {}

CNodeMapFactory::CNodeMapFactory(EContentType_t ContentType, const void* pData, size_t DataSize,
                                 ECacheUsage_t, bool SuppressStringsOnLoad) {
  if (pData == nullptr && DataSize != 0) {
    throw INVALID_ARGUMENT_EXCEPTION("The camera description is null");
  }
  if (ContentType == ContentType_ZippedXml) {
    m_pImpl = MakeImpl(OrvexGenApi::Unzip(pData, DataSize), SuppressStringsOnLoad);
  } else {
    m_pImpl =
        MakeImpl(std::string(static_cast<const char*>(pData), DataSize), SuppressStringsOnLoad);
  }
}

CNodeMapFactory::CNodeMapFactory(const gcstring& XmlData, ECacheUsage_t, bool SuppressStringsOnLoad)
    : m_pImpl(MakeImpl(std::string(XmlData.c_str(), XmlData.size()), SuppressStringsOnLoad)) {}

CNodeMapFactory::CNodeMapFactory(const CNodeMapFactory& other) = default;
CNodeMapFactory& CNodeMapFactory::operator=(const CNodeMapFactory& other) = default;
CNodeMapFactory::~CNodeMapFactory() = default;

bool CNodeMapFactory::IsEmpty() const {
  return !m_pImpl->hasText && !m_pImpl->document;
}

void CNodeMapFactory::AddInjectionData(CNodeMapFactory& injectionData) {
  if (injectionData.m_pImpl == m_pImpl) {
    throw INVALID_ARGUMENT_EXCEPTION("A camera description cannot be merged into itself");
  }
  if (m_pImpl->document) {
    injectionData.m_pImpl->Load();
    m_pImpl->document = OrvexGenApi::Merge(*m_pImpl->document, *injectionData.m_pImpl->document);
  } else {
    m_pImpl->injections.push_back(injectionData.m_pImpl);
  }
}

void CNodeMapFactory::LoadAndInject() {
  m_pImpl->Load();
}
bool CNodeMapFactory::IsLoaded() const {
  return m_pImpl->document != nullptr;
}

CNodeMapFactory CNodeMapFactory::ExtractSubtree(const gcstring& SubTreeRootNodeName,
                                                bool doRenameToRoot) {
  m_pImpl->Load();
  CNodeMapFactory result;
  result.m_pImpl->document =
      OrvexGenApi::ExtractSubtree(*m_pImpl->document, SubTreeRootNodeName.c_str(), doRenameToRoot);
  result.m_pImpl->suppressStrings = m_pImpl->suppressStrings;
  return result;
}

void CNodeMapFactory::Preprocess() {
  m_pImpl->Load();
  if (m_pImpl->preprocessed) return;
  // A map built now meets every error that a later one would.
  OrvexGenApi::NodeMap map;
  map.Load(m_pImpl->document, "Device", m_pImpl->suppressStrings);
  m_pImpl->preprocessed = true;
}

bool CNodeMapFactory::IsPreprocessed() const {
  return m_pImpl->preprocessed;
}

void CNodeMapFactory::ReleaseCameraDescriptionFileData() {
  if (!m_pImpl->document) {
    m_pImpl->text.clear();
    m_pImpl->text.shrink_to_fit();
    m_pImpl->hasText = false;
  }
  m_pImpl->released = true;
}

bool CNodeMapFactory::IsCameraDescriptionFileDataReleased() const {
  return m_pImpl->released;
}

namespace {
INodeMap* MakeMap(CNodeMapFactoryImpl& impl, CLock* pLock, const gcstring& deviceName) {
  impl.Load();
  auto map = std::make_unique<OrvexGenApi::NodeMap>(pLock);
  map->Load(impl.document, deviceName, impl.suppressStrings);
  impl.preprocessed = true;
  return map.release();
}
}  // namespace

INodeMap* CNodeMapFactory::CreateNodeMap(const gcstring& DeviceName, bool) {
  return MakeMap(*m_pImpl, nullptr, DeviceName);
}
INodeMap* CNodeMapFactory::CreateNodeMap(CLock& UserProvidedLock, const gcstring& DeviceName,
                                         bool) {
  return MakeMap(*m_pImpl, &UserProvidedLock, DeviceName);
}
INodeMap* CNodeMapFactory::CreateEmptyNodeMap() {
  return new OrvexGenApi::NodeMap();
}
bool CNodeMapFactory::ClearCache() {
  return true;
}

void CNodeMapFactory::GetSupportedSchemaVersions(gcstring_vector& SchemaVersions) const {
  SchemaVersions.clear();
  SchemaVersions.push_back("1.0");
  SchemaVersions.push_back("1.1");
}

gcstring CNodeMapFactory::ToString() const {
  m_pImpl->Load();
  OrvexGenApi::NodeMap map;
  map.Load(m_pImpl->document, "Device", m_pImpl->suppressStrings);
  std::string text;
  for (const auto* node : map.Nodes()) {
    text += node->XmlElement().name();
    text += '\t';
    text += node->Name();
    text += '\n';
  }
  return gcstring(text.c_str());
}

gcstring CNodeMapFactory::ToXml() const {
  m_pImpl->Load();
  return gcstring(m_pImpl->document->ToXml().c_str());
}

CNodeDataMap* CNodeMapFactory::CreateNodeDataFromNodeMap(INodeMap*) {
  throw RUNTIME_EXCEPTION("Node data are not handed out");
}

void CNodeMapFactory::GetNodeStatistics(NodeStatistics_t& NodeStatistics) {
  m_pImpl->Load();
  OrvexGenApi::NodeMap map;
  map.Load(m_pImpl->document, "Device", m_pImpl->suppressStrings);
  NodeStatistics = {};
  for (const auto* node : map.Nodes()) {
    ++NodeStatistics.NumNodes;
    NodeStatistics.NumLinks += static_cast<uint32_t>(node->Links().size());
    for (const auto child : node->XmlElement().children()) {
      if (child.type() != pugi::node_element) continue;
      ++NodeStatistics.NumProperties;
      if (child.name()[0] != 'p') ++NodeStatistics.NumStrings;
    }
  }
}

const gcstring CNodeMapFactory::ApplyStyleSheet(const gcstring&) {
  throw RUNTIME_EXCEPTION("Style sheets are not applied");
}

GENAPI_DECL IDestroy* CastToIDestroy(INodeMap* pNodeMap) {
  return dynamic_cast<IDestroy*>(pNodeMap);
}

GENAPI_DECL gcstring GetInterfaceName(IBase* pBase) {
  const auto* node = dynamic_cast<INode*>(pBase);
  if (node == nullptr) return "IBase";
  switch (node->GetPrincipalInterfaceType()) {
    case intfIValue:
      return "IValue";
    case intfIInteger:
      return "IInteger";
    case intfIBoolean:
      return "IBoolean";
    case intfICommand:
      return "ICommand";
    case intfIFloat:
      return "IFloat";
    case intfIString:
      return "IString";
    case intfIRegister:
      return "IRegister";
    case intfICategory:
      return "ICategory";
    case intfIEnumeration:
      return "IEnumeration";
    case intfIEnumEntry:
      return "IEnumEntry";
    case intfIPort:
      return "IPort";
    default:
      return "IBase";
  }
}

}  // namespace GENAPI_NAMESPACE
