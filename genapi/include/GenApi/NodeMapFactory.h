#pragma once
// SPDX-License-Identifier: Apache-2.0
// Makes node maps out of camera descriptions (GenICam GenApi). A factory is a cheap, shared handle:
// copies refer to the same description. One thread at a time per description; the node maps made
// are independent of the factory.
//
// Failures: RuntimeException for files that cannot be read, for data that are no description and
// for bounds that are exceeded; PropertyException for a bad node. The text names the node, the line
// and what is wrong.
#include <GenApi/INodeMap.h>

#include <memory>

namespace GENAPI_NAMESPACE {

class CNodeDataMap;
class CNodeMapFactoryImpl;

// What a file or a memory block holds.
enum EContentType_t { ContentType_Xml, ContentType_ZippedXml };

// Kept for source compatibility: loading is faster than a cache on disk would be, so there is none.
enum ECacheUsage_t {
  CacheUsage_Automatic,
  CacheUsage_ForceWrite,
  CacheUsage_ForceRead,
  CacheUsage_Ignore
};

// How much there is in a description.
struct NodeStatistics_t {
  uint32_t NumNodes;
  uint32_t NumProperties;
  uint32_t NumLinks;
  uint32_t NumStrings;
};

class GENAPI_DECL CNodeMapFactory {
 public:
  CNodeMapFactory();
  // Reads a file at once; a zip archive may hold other members beside the one description. With
  // SuppressStringsOnLoad tool tips and descriptions are left out.
  CNodeMapFactory(EContentType_t FileType, const GENICAM_NAMESPACE::gcstring& FileName,
                  ECacheUsage_t CacheUsage = CacheUsage_Automatic,
                  bool SuppressStringsOnLoad = false);
  // Copies the data.
  CNodeMapFactory(EContentType_t ContentType, const void* pData, size_t DataSize,
                  ECacheUsage_t CacheUsage = CacheUsage_Automatic,
                  bool SuppressStringsOnLoad = false);
  explicit CNodeMapFactory(const GENICAM_NAMESPACE::gcstring& XmlData,
                           ECacheUsage_t CacheUsage = CacheUsage_Automatic,
                           bool SuppressStringsOnLoad = false);
  CNodeMapFactory(const CNodeMapFactory& other);
  CNodeMapFactory& operator=(const CNodeMapFactory& other);
  virtual ~CNodeMapFactory();

  // Whether there is no description at all.
  bool IsEmpty() const;
  // The description given is merged into this one when it is loaded.
  void AddInjectionData(CNodeMapFactory& injectionData);
  // Parses and merges now instead of on the first use.
  void LoadAndInject();
  bool IsLoaded() const;
  // A description of the given node and everything it needs; doRenameToRoot makes it the category
  // Root.
  CNodeMapFactory ExtractSubtree(const GENICAM_NAMESPACE::gcstring& SubTreeRootNodeName,
                                 bool doRenameToRoot = false);
  // Parses, merges and resolves all links now.
  void Preprocess();
  bool IsPreprocessed() const;
  // Frees the text; what has been parsed stays.
  void ReleaseCameraDescriptionFileData();
  bool IsCameraDescriptionFileDataReleased() const;
  // A new node map, destroyed by the caller through IDestroy.
  INodeMap* CreateNodeMap(const GENICAM_NAMESPACE::gcstring& DeviceName = "Device",
                          bool DoReleaseCameraDescriptionFileData = true);
  // The same under a lock of the caller's, which must outlive the map.
  INodeMap* CreateNodeMap(CLock& UserProvidedLock,
                          const GENICAM_NAMESPACE::gcstring& DeviceName = "Device",
                          bool DoReleaseCameraDescriptionFileData = true);
  static INodeMap* CreateEmptyNodeMap();
  // There is no cache on disk: always true.
  static bool ClearCache();
  void GetSupportedSchemaVersions(GENICAM_NAMESPACE::gcstring_vector& SchemaVersions) const;
  // Names and kinds of all nodes, one a line.
  GENICAM_NAMESPACE::gcstring ToString() const;
  // The merged description as XML.
  GENICAM_NAMESPACE::gcstring ToXml() const;
  // Not offered by this engine: throws RuntimeException.
  static CNodeDataMap* CreateNodeDataFromNodeMap(INodeMap* pNodeMap);
  void GetNodeStatistics(NodeStatistics_t& NodeStatistics);
  // Style sheets are not applied by this engine: throws RuntimeException.
  const GENICAM_NAMESPACE::gcstring ApplyStyleSheet(
      const GENICAM_NAMESPACE::gcstring& StyleSheetFileName);

 private:
  std::shared_ptr<CNodeMapFactoryImpl> m_pImpl;
};

}  // namespace GENAPI_NAMESPACE
