// SPDX-License-Identifier: Apache-2.0
// The node map's own loading functions.
#include <GenApi/NodeMapFactory.h>

#include <fstream>

#include "engine/Description.h"
#include "engine/Limits.h"
#include "engine/NodeMap.h"

namespace OrvexGenApi {
namespace {

std::shared_ptr<Document> FromFile(const gcstring& name) {
  return Document::Parse(ReadFile(name.c_str(), sk_maxXmlBytes));
}
std::shared_ptr<Document> FromText(const gcstring& text) {
  return Document::Parse(std::string(text.c_str(), text.size()));
}
void WriteFile(const gcstring& name, const std::string& text) {
  std::ofstream out(name.c_str(), std::ios::binary);
  out << text;
  if (!out.flush()) throw RUNTIME_EXCEPTION("Cannot write file '%s'", name.c_str());
}
void RefuseStyleSheet(const gcstring& name) {
  if (!name.empty()) throw RUNTIME_EXCEPTION("Style sheets are not applied");
}

}  // namespace

void NodeMap::LoadXMLFromFile(const gcstring& FileName) {
  Load(FromFile(FileName), m_deviceName.c_str(), m_suppressStrings);
}

void NodeMap::LoadXMLFromFileInject(const gcstring& TargetFileName,
                                    const gcstring& InjectFileName) {
  Load(Merge(*FromFile(TargetFileName), *FromFile(InjectFileName)), m_deviceName.c_str(),
       m_suppressStrings);
}

void NodeMap::LoadXMLFromString(const gcstring& XMLData) {
  Load(FromText(XMLData), m_deviceName.c_str(), m_suppressStrings);
}

void NodeMap::LoadXMLFromStringInject(const gcstring& TargetXMLData,
                                      const gcstring& InjectXMLData) {
  Load(Merge(*FromText(TargetXMLData), *FromText(InjectXMLData)), m_deviceName.c_str(),
       m_suppressStrings);
}

void NodeMap::PreprocessXMLFromFile(const gcstring& XMLFileName, const gcstring& StyleSheetFileName,
                                    const gcstring& OutputFileName, const uint32_t) {
  RefuseStyleSheet(StyleSheetFileName);
  WriteFile(OutputFileName, FromFile(XMLFileName)->ToXml());
}

void NodeMap::MergeXMLFiles(const gcstring& TargetFileName, const gcstring& InjectedFileName,
                            const gcstring& OutputFileName) {
  WriteFile(OutputFileName, Merge(*FromFile(TargetFileName), *FromFile(InjectedFileName))->ToXml());
}

void NodeMap::ExtractIndependentSubtree(const gcstring& XMLData, const gcstring& InjectXMLData,
                                        const gcstring& SubTreeRootNodeName,
                                        gcstring& ExtractedSubtree) {
  auto source = FromText(XMLData);
  if (!InjectXMLData.empty()) source = Merge(*source, *FromText(InjectXMLData));
  ExtractedSubtree = ExtractSubtree(*source, SubTreeRootNodeName.c_str(), false)->ToXml().c_str();
}

void NodeMap::GetSupportedSchemaVersions(gcstring_vector& SchemaVersions) {
  CNodeMapFactory().GetSupportedSchemaVersions(SchemaVersions);
}

void NodeMap::LoadXMLFromZIPFile(const gcstring& ZipFileName) {
  const std::string data = ReadFile(ZipFileName.c_str(), sk_maxXmlBytes);
  LoadXMLFromZIPData(data.data(), data.size());
}

void NodeMap::LoadXMLFromZIPData(const void* zipData, size_t zipSize) {
  Load(Document::Parse(Unzip(zipData, zipSize)), m_deviceName.c_str(), m_suppressStrings);
}

void NodeMap::PreprocessXMLFromZIPFile(const gcstring& XMLFileName,
                                       const gcstring& StyleSheetFileName,
                                       const gcstring& OutputFileName, const uint32_t) {
  RefuseStyleSheet(StyleSheetFileName);
  const std::string data = ReadFile(XMLFileName.c_str(), sk_maxXmlBytes);
  WriteFile(OutputFileName, Document::Parse(Unzip(data.data(), data.size()))->ToXml());
}

}  // namespace OrvexGenApi
