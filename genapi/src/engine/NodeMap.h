#pragma once
// SPDX-License-Identifier: Apache-2.0
// The node map: owner of all nodes, their lock, and the one place where changes spread. Freed by
// Destroy.
#include <GenApi/IDestroy.h>
#include <GenApi/IDeviceInfo.h>
#include <GenApi/INodeMap.h>
#include <GenApi/INodeMapDyn.h>
#include <GenApi/IUserData.h>
#include <GenApi/NodeCallback.h>

#include <string>

#include <utility>
#include <vector>

#include "engine/Arena.h"
#include "engine/Document.h"
#include "engine/NameTable.h"
#include "engine/Node.h"

namespace OrvexGenApi {

class PortNode;
class RegisterCore;

class NodeMap final : public INodeMapDyn, public IDeviceInfo, public IDestroy, public IUserData {
 public:
  explicit NodeMap(CLock* pUserLock = nullptr);
  ~NodeMap();

  // Fills the empty map; throws and leaves it empty when the description is bad.
  void Load(std::shared_ptr<const Document> document, const gcstring& deviceName,
            bool suppressStrings);

  // INodeMap
  void GetNodes(NodeList_t& Nodes) const override;
  INode* GetNode(const gcstring& Name) const override;
  void InvalidateNodes() const override;
  bool Connect(IPort* pPort, const gcstring& PortName) const override;
  bool Connect(IPort* pPort) const override;
  bool Connect(IPortStacked* pPort, const gcstring& PortName) override;
  bool Connect(IPortStacked* pPort) override;
  gcstring GetDeviceName() override;
  void Poll(int64_t ElapsedTime) override;
  CLock& GetLock() const override { return *m_pLock; }
  uint64_t GetNumNodes() const override { return m_nodes.size(); }
  bool ParseSwissKnifes(gcstring_vector* pErrorList) const override;
  CNodeWriteConcatenator* NewNodeWriteConcatenator() const override;
  bool ConcatenatedWrite(CNodeWriteConcatenator* pWrites, bool featureStreaming,
                         gcstring_vector* pErrorList) override;
  void SetSuppressCallbackMode(ECallbackSuppressMode mode) override;

  // INodeMapDyn
  void ClearAllNodes() override;
  void LoadXMLFromFile(const gcstring& FileName) override;
  void LoadXMLFromFileInject(const gcstring& TargetFileName,
                             const gcstring& InjectFileName) override;
  void LoadXMLFromString(const gcstring& XMLData) override;
  void LoadXMLFromStringInject(const gcstring& TargetXMLData,
                               const gcstring& InjectXMLData) override;
  void PreprocessXMLFromFile(const gcstring& XMLFileName, const gcstring& StyleSheetFileName,
                             const gcstring& OutputFileName, const uint32_t XMLValidation) override;
  void MergeXMLFiles(const gcstring& TargetFileName, const gcstring& InjectedFileName,
                     const gcstring& OutputFileName) override;
  void ExtractIndependentSubtree(const gcstring& XMLData, const gcstring& InjectXMLData,
                                 const gcstring& SubTreeRootNodeName,
                                 gcstring& ExtractedSubtree) override;
  void GetSupportedSchemaVersions(gcstring_vector& SchemaVersions) override;
  void LoadXMLFromZIPFile(const gcstring& ZipFileName) override;
  void LoadXMLFromZIPData(const void* zipData, size_t zipSize) override;
  void PreprocessXMLFromZIPFile(const gcstring& XMLFileName, const gcstring& StyleSheetFileName,
                                const gcstring& OutputFileName,
                                const uint32_t XMLValidation) override;

  // IDeviceInfo
  gcstring GetModelName() override { return Attribute("ModelName"); }
  gcstring GetVendorName() override { return Attribute("VendorName"); }
  gcstring GetToolTip() override { return Attribute("ToolTip"); }
  gcstring GetStandardNameSpace() override { return Attribute("StandardNameSpace"); }
  void GetGenApiVersion(Version_t& Version, uint16_t& Build) override;
  void GetSchemaVersion(Version_t& Version) override;
  void GetDeviceVersion(Version_t& Version) override;
  gcstring GetProductGuid() override { return Attribute("ProductGuid"); }
  gcstring GetVersionGuid() override { return Attribute("VersionGuid"); }

  // IDestroy
  void Destroy() override { delete this; }

  // IUserData
  UserData_t GetUserData() const override { return m_userData; }
  UserData_t SetUserData(UserData_t userdata) override {
    return std::exchange(m_userData, userdata);
  }

  // ---- for nodes; the lock is held ----
  // The node's value has changed: caches of everything that depends on it are dropped and callbacks
  // are noted.
  void NodeChanged(Node& node);
  void RangeChanged(Node& node);
  // The same for a node whose own caches are void too.
  void NodeInvalidated(Node& node);
  // Registers that overlap the bytes written lose their caches.
  void RegisterWritten(Node& owner, PortNode& port, int64_t address, int64_t length);
  void NoteCallbacks(Node& node);
  Node* Find(std::string_view name) const;
  const Document* Description() const { return m_document.get(); }
  const std::string& DeviceName() const { return m_deviceName; }
  bool SuppressStrings() const { return m_suppressStrings; }
  CallbackHandleType AddCallback(Node& node, CNodeCallback* pCallback);
  bool RemoveCallback(Node& node, CallbackHandleType handle);
  const std::vector<Node*>& Nodes() const { return m_nodes; }
  bool IsStreaming() const { return m_streaming; }
  uint32_t VisibilityEpoch() const { return m_visibilityEpoch; }

  // Reads nest; a chain that is too deep or a read that never ends is a circle.
  class ReadDepth {
   public:
    ReadDepth(const NodeMap& map, const Node& node) : m_map(map) {
      if (++map.m_readDepth == 1) map.m_readCount = 0;
      if (map.m_readDepth > map.m_maxReadDepth || ++map.m_readCount > sk_maxReads) {
        map.FailCircle(node);
      }
    }
    ~ReadDepth() { --m_map.m_readDepth; }
    ReadDepth(const ReadDepth&) = delete;
    ReadDepth& operator=(const ReadDepth&) = delete;

   private:
    static constexpr uint32_t sk_maxReads = 300'000;
    const NodeMap& m_map;
  };

 private:
  friend class Builder;
  friend class Node;
  friend class WriteScope;

  gcstring Attribute(const char* pName) const;
  uint16_t VersionPart(const char* pName) const;
  [[noreturn]] void FailCircle(const Node& node) const;
  void Spread(Node& start, uint8_t what);
  PortNode* FindPort(const gcstring& name) const;

  mutable CLock m_ownLock;
  CLock* m_pLock;
  std::shared_ptr<const Document> m_document;
  std::string m_deviceName = "Device";
  bool m_suppressStrings = false;
  bool m_streaming = false;
  std::vector<Node*> m_nodes;  // owned; they lie in m_memory
  Arena m_memory;
  NameTable m_byName;  // to indices into m_nodes
  // By node, in the nodes' order: where node i's begin is said at i, where they end at i + 1.
  std::vector<Link> m_links;
  std::vector<uint32_t> m_linkBegin;
  std::vector<Dependent> m_dependents;
  std::vector<uint32_t> m_dependentBegin;
  std::vector<Node*> m_pollers;
  std::vector<Node*> m_selectors;

  // Changes under way; guarded by the lock.
  int m_writeDepth = 0;
  uint32_t m_visit = 0;
  uint32_t m_visibilityEpoch = 1;  // grows when a visibility is imposed
  std::vector<Node*> m_work;
  std::vector<Node*> m_changed;  // nodes with callbacks that are to be told
  size_t m_numCallbacks = 0;
  ECallbackSuppressMode m_suppress = csmOff;
  mutable int m_readDepth = 0;
  mutable uint32_t m_readCount = 0;
  int m_maxReadDepth;
  UserData_t m_userData = nullptr;
};

// Holds the lock while nodes are read.
class ReadScope {
 public:
  explicit ReadScope(const NodeMap& map) : m_lock(map.GetLock()) { m_lock.Lock(); }
  ~ReadScope() { m_lock.Unlock(); }
  ReadScope(const ReadScope&) = delete;
  ReadScope& operator=(const ReadScope&) = delete;

 private:
  CLock& m_lock;
};

// Holds the lock while nodes change; the outermost one tells the callbacks when it ends. Finish
// lets what callbacks throw out; the destructor, after a failure, does not.
class WriteScope {
 public:
  explicit WriteScope(NodeMap& map);
  ~WriteScope();
  void Finish();
  WriteScope(const WriteScope&) = delete;
  WriteScope& operator=(const WriteScope&) = delete;

 private:
  void End();
  NodeMap& m_map;
  bool m_open = true;
};

}  // namespace OrvexGenApi
